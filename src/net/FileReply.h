// A file on its way to a client.
#pragma once

#include <ztlib/ZtString.h>

namespace zt_net {

/// Reads a file in pieces, so that its size does not matter. Puts a line before text that would
/// else be taken for a page.
class FileReply {
public:
    FileReply() = default;
    ~FileReply();
    FileReply(const FileReply&) = delete;
    FileReply& operator=(const FileReply&) = delete;

    /// Opens a regular file, below `root` unless that is null, with at most `mostBytes` bytes
    /// unless that is negative. Closes the one before. Tells whether it is open.
    bool open(const ZtString& path, const char* root, long long mostBytes);

    const ZtString& path() const { return path_; }
    /// The size of the file.
    long long size() const { return size_; }

    /// Goes to the next piece of what is to be sent and sets its size, 0 at the end. The piece
    /// holds until the next call.
    const char* next(int& size);

private:
    void close();
    bool examine(long long mostBytes);
    int read();

    ZtString path_;
    int file_ = -1;
    long long size_ = 0;
    long long left_ = 0;      // of the file, behind what is in the buffer
    char* buffer_ = nullptr;  // with room for the line that may stand before the first piece
    int inBuffer_ = 0;
    bool hasLine_ = false;
};

}  // namespace zt_net
