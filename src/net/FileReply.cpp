// Reading files for clients, and telling text from pages.
#include "net/FileReply.h"

#include <ztlib/ZtMemory.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>

#include "net/RequestLine.h"
#include "platform/PlatformDescriptor.h"

namespace zt_net {

namespace {

constexpr char kLine[] = "<PLAINTEXT>\r\n";
constexpr int kLineLength = sizeof kLine - 1;
constexpr int kPiece = 256 * 1024;

// Files without a size, which a system makes up as they are read, may have no end.
constexpr long long kMostOfUnknownSize = 64LL << 20;

// Whether the file's name says that it is a page, a class file or a picture.
bool isOfKnownKind(const char* path) {
    const char* const extension = extensionOf(path);
    for (const char* known : {"HTML", "HTM", "CLASS", "GIF", "PNG", "JPG", "JPEG"})
        if (extension && ZtString::strcasecmp(extension, known) == 0)
            return true;
    return false;
}

bool isBinary(const char* bytes, int count) {
    unsigned found = 0;
    for (int i = 0; i < count; ++i) {
        const auto c = static_cast<unsigned char>(bytes[i]);
        found |= static_cast<unsigned>(c >= 128) |
                 (static_cast<unsigned>(c < 32) & static_cast<unsigned>(c != '\n') &
                  static_cast<unsigned>(c != '\r'));
    }
    return found != 0;
}

}  // namespace

FileReply::~FileReply() {
    close();
}

void FileReply::close() {
    if (file_ >= 0)
        platform::closeFile(file_);
    ztfree(buffer_);
    file_ = -1;
    buffer_ = nullptr;
}

bool FileReply::open(const ZtString& path, const char* root, long long mostBytes) {
    close();
    file_ = platform::openRegularFile(path.getString(), root, size_);
    if (file_ < 0)
        return false;
    path_ = path;
    buffer_ = static_cast<char*>(ztmalloc(kLineLength + kPiece));
    return examine(mostBytes);
}

// Fills the buffer as far as the file goes; less is an error or the end.
int FileReply::read() {
    char* const start = buffer_ + kLineLength;
    int count = 0;
    while (count < kPiece) {
        const int part =
            platform::readSome(file_, start + count, static_cast<std::size_t>(kPiece - count));
        if (part < 1)
            break;
        count += part;
    }
    return count;
}

// Finds out what has to be known before the first byte is sent: whether it is text, and the size
// where the system does not know it. Leaves the first piece in the buffer.
bool FileReply::examine(long long mostBytes) {
    const bool hasSize = size_ > 0;
    long long most = mostBytes >= 0 ? mostBytes : LLONG_MAX;
    if (!hasSize)
        most = std::min(most, kMostOfUnknownSize);
    if (size_ > most)
        return false;
    bool mayBeText = !isOfKnownKind(path_.getString());
    bool isBeforeText = true;  // all so far were blanks and line feeds
    long long count = 0;
    for (bool isFirst = true;; isFirst = false) {
        inBuffer_ = read();
        count += inBuffer_;
        const char* const piece = buffer_ + kLineLength;
        if (isBeforeText) {
            const char* const end = piece + inBuffer_;
            const char* const text =
                std::find_if_not(piece, end, [](char c) { return c == ' ' || c == '\n'; });
            isBeforeText = text == end;
            mayBeText = mayBeText && (isBeforeText || *text != '<');
        }
        mayBeText = mayBeText && !isBinary(piece, inBuffer_);
        const bool isEnd = inBuffer_ < kPiece;
        const bool isDone = isEnd || (hasSize && !mayBeText);
        if (!isDone && count <= most)
            continue;
        if (!hasSize || isEnd)
            size_ = count;
        if (size_ > most)
            return false;
        if (!isFirst) {
            if (!platform::rewindFile(file_))
                return false;
            inBuffer_ = read();
        }
        hasLine_ = mayBeText;
        inBuffer_ = static_cast<int>(std::min<long long>(inBuffer_, size_));
        left_ = size_ - inBuffer_;
        return true;
    }
}

const char* FileReply::next(int& size) {
    if (inBuffer_ == 0 && left_ > 0) {
        inBuffer_ = static_cast<int>(std::min<long long>(read(), left_));
        left_ = inBuffer_ > 0 ? left_ - inBuffer_ : 0;
    }
    const char* piece = buffer_ + kLineLength;
    size = inBuffer_;
    if (hasLine_) {
        std::memcpy(buffer_, kLine, kLineLength);
        piece = buffer_;
        size += kLineLength;
    }
    hasLine_ = false;
    inBuffer_ = 0;
    return piece;
}

}  // namespace zt_net
