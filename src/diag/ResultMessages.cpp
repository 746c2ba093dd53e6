// The standard messages of result codes, in a chained hash table.
#include "diag/ResultMessages.h"

#include <ztlib/ZtDArray.h>
#include <ztlib/ZtHash.h>

namespace zt_diag {

namespace {

struct Node {
    unsigned short code;
    const char* message;
    Node* next;
};

// The second sentence of 4132 is about another error; users know the message as it is.
Node nodes[] = {
    {0, "operation successful", nullptr},
    {1, "one of the arguments is invalid", nullptr},
    {2, "internal error", nullptr},
    {3, "data expected", nullptr},
    {4, "not supported", nullptr},
    {5, "read only", nullptr},
    {6, "out of range", nullptr},
    {7, "not implemented", nullptr},
    {8, "out of memory", nullptr},
    {9, "false", nullptr},
    {11, "operation interrupted", nullptr},
    {1280,
     "OpenGL Error GL_INVALID_ENUM - An unacceptable value is specified for an enumerated "
     "argument. The offending function is ignored, having no side effect other than to "
     "set the error flag.",
     nullptr},
    {1281,
     "OpenGL Error GL_INVALID_VALUE - A numeric argument is out of range. The offending "
     "function is ignored, having no side effect other than to set the error flag.",
     nullptr},
    {1282,
     "OpenGL Error GL_INVALID_OPERATION - The specified operation is not allowed in the "
     "current state. The offending function is ignored, having no side effect other than "
     "to set the error flag.",
     nullptr},
    {1283,
     "OpenGL Error GL_STACK_OVERFLOW - This function would cause a stack overflow. The "
     "offending function is ignored, having no side effect other than to set the error "
     "flag.",
     nullptr},
    {1284,
     "OpenGL Error GL_STACK_UNDERFLOW - This function would cause a stack underflow. The "
     "offending function is ignored, having no side effect other than to set the error "
     "flag.",
     nullptr},
    {1285,
     "OpenGL Error GL_OUT_OF_MEMORY - There is not enough memory left to execute the "
     "function. The state of OpenGL is undefined, except for the state of the error "
     "flags, after this error is recorded.",
     nullptr},
    {4097, "", nullptr},
    {4098,
     "No such file or directory. The specified file or directory does not exist or cannot "
     "be found. This message can occur whenever a specified file does not exist or a "
     "component of a path does not specify an existing directory.",
     nullptr},
    {4099, "", nullptr},
    {4100, "", nullptr},
    {4101, "", nullptr},
    {4102, "", nullptr},
    {4103, "Argument list too long.", nullptr},
    {4104,
     "Exec format error. An attempt was made to execute a file that is not executable or "
     "that has an invalid executable-file format. ",
     nullptr},
    {4105,
     "Bad file number. There are two possible causes: 1) The specified file descriptor is "
     "not a valid value or does not refer to an open file. 2) An attempt was made to "
     "write to a file or device opened for read-only access.",
     nullptr},
    {4106, "No spawned processes.", nullptr},
    {4107,
     "No more processes. An attempt to create a new process failed because there are no "
     "more process slots, or there is not enough memory, or the maximum nesting level has "
     "been reached.",
     nullptr},
    {4108,
     "Not enough core. Not enough memory is available for the attempted operator. For "
     "example, this message can occur when insufficient memory is available to execute a "
     "child process, or when the allocation request in a _getcwd call cannot be satisfied.",
     nullptr},
    {4109,
     "Permission denied. The file's permission setting does not allow the specified "
     "access. This error signifies that an attempt was made to access a file (or, in some "
     "cases, a directory) in a way that is incompatible with the file's attributes. For "
     "example, the error can occur when an attempt is made to read from a file that is "
     "not open, to open an existing read-only file for writing, or to open a directory "
     "instead of a file. Under MS-DOS operating system versions 3.0 and later, EACCES may "
     "also indicate a locking or sharing violation. The error can also occur in an "
     "attempt to rename a file or directory or to remove an existing directory.",
     nullptr},
    {4110, "", nullptr},
    {4112, "Resource busy.", nullptr},
    {4113,
     "Files exist. An attempt has been made to create a file that already exists. For "
     "example, the _O_CREAT and _O_EXCL flags are specified in an _open call, but the "
     "named file already exists.",
     nullptr},
    {4114,
     "Cross-device link. An attempt was made to move a file to a different device (using "
     "the rename function).",
     nullptr},
    {4115, "", nullptr},
    {4116, "", nullptr},
    {4117, "", nullptr},
    {4118,
     "Invalid argument. An invalid value was given for one of the arguments to a "
     "function. For example, the value given for the origin when positioning a file "
     "pointer (by means of a call to fseek) is before the beginning of the file.",
     nullptr},
    {4119, "", nullptr},
    {4120,
     "Too many open files. No more file descriptors are available, so no more files can "
     "be opened.",
     nullptr},
    {4121, "", nullptr},
    {4123, "", nullptr},
    {4124,
     "No space left on device. No more space for writing is available on the device (for "
     "example, when the disk is full).",
     nullptr},
    {4125, "", nullptr},
    {4126, "", nullptr},
    {4127, "", nullptr},
    {4128, "", nullptr},
    {4129, "Math argument.", nullptr},
    {4130,
     "Result too large. An argument to a math function is too large, resulting in partial "
     "or total loss of significance in the result. This error can also occur in other "
     "functions when an argument is larger than expected (for example, when the buffer "
     "argument to _getcwd is longer than expected).",
     nullptr},
    {4132,
     "Resource deadlock would occur. The argument to a math function is not in the domain "
     "of the function.",
     nullptr},
    {4134, "", nullptr},
    {4135, "", nullptr},
    {4136, "", nullptr},
    {4137, "", nullptr},
    {4138, "", nullptr},
};

// Nodes by their codes. The number of buckets is a power of two; when there are more than two nodes
// per bucket it doubles.
class Table {
public:
    Table() {
        buckets_.push(nullptr);
        for (Node& node : nodes)
            insert(node);
    }

    const char* find(unsigned short code) const {
        for (const Node* node = buckets_[indexOf(code)]; node; node = node->next)
            if (node->code == code)
                return node->message;
        return nullptr;
    }

private:
    int indexOf(unsigned short code) const { return zt_hash(static_cast<int>(code)) & mask_; }

    void link(Node& node) {
        Node*& head = buckets_[indexOf(node.code)];
        node.next = head;
        head = &node;
    }

    void insert(Node& node) {
        link(node);
        if (++count_ > 2 * (mask_ + 1))
            grow();
    }

    void grow() {
        ZtDArray<Node*, 1> old;
        old.swapWith(buckets_);
        mask_ = 2 * mask_ + 1;
        buckets_.resize(mask_ + 1);
        buckets_.fill(nullptr);
        for (Node* node : old)
            while (node) {
                Node* const next = node->next;
                link(*node);
                node = next;
            }
    }

    ZtDArray<Node*, 1> buckets_;
    int mask_ = 0;
    int count_ = 0;
};

}  // namespace

const char* standardMessage(int code) {
    static const Table* const table = new Table;
    return table->find(static_cast<unsigned short>(code));
}

}  // namespace zt_diag
