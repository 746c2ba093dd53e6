// Who owns what: objects behind handles, arrays and their buffers, and memory that runs out.
#include <ztlib/ZtDArray.h>
#include <ztlib/ZtHandle.h>
#include <ztlib/ZtMemoryException.h>
#include <ztlib/ZtString.h>

#include <cstdio>

/// A surface that several views show.
class Surface : public ZtHandable {
public:
    explicit Surface(const char* name) : name_(name) {}
    const char* name() const { return name_.getString(); }

protected:
    // Nobody deletes it but the last handle.
    ~Surface() override { std::printf("%s goes\n", name()); }

private:
    ZtString name_;
};

/// The last handle takes the surface along.
void shareSurface() {
    const ZtHandle<Surface> inOneView = new Surface("skull");
    {
        const ZtHandle<Surface> inAnother = inOneView;
        std::printf("two views show %s\n", inAnother->name());
    }
    std::printf("one view shows %s\n", inOneView->name());
}

/// A reader's buffer becomes an array's, and an array's becomes the caller's, without a copy.
void handBuffersOver() {
    constexpr int n = 3;
    int* const block = static_cast<int*>(ztmalloc(n * sizeof(int)));
    for (int i = 0; i < n; ++i)
        block[i] = i * i;

    ZtDArray<int> squares;
    squares.setRawData(n, block);  // the array's now
    squares.push(9);

    int* const mine = squares.dataPtr();
    const int count = squares.size();
    squares.release();  // the caller's again
    std::printf("%d squares, the last is %d\n", count, mine[count - 1]);
    ztfree(mine);
}

/// A request that cannot be met leaves the array as it was.
void runOutOfMemory() {
    ZtDArray<ZtString> names;
    names.push("left");
    try {
        names.remax(2147483647);
        std::printf("that much memory there is\n");
    } catch (const ZtMemoryException&) {
        std::printf("still %d name: %s\n", names.size(), names[0].getString());
    }
}

int main() {
    shareSurface();
    handBuffersOver();
    runOutOfMemory();
}
