// Reads a file, compressed or not, and knows how much of it there is.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace ztlabel {

/// A file that is read from its start. Names that end in ".gz" are decompressed on the way.
class ByteSource {
public:
    /// Throws Failure when the file cannot be opened.
    explicit ByteSource(const std::string& path);
    ~ByteSource();
    ByteSource(const ByteSource&) = delete;
    ByteSource& operator=(const ByteSource&) = delete;

    /// Reads up to `count` bytes; less only at the end, also at the early end of a truncated file.
    /// Throws Failure when the file cannot be read or its compressed data are damaged.
    std::size_t read(void* bytes, std::size_t count);
    /// Passes over bytes; false when the file ends before.
    bool skip(unsigned long long count);
    /// Reads to the end of the compressed data, whose check sum is found there. Throws Failure when
    /// they end early or do not check.
    void verifyEnd();

    /// The most bytes that the file can hold, judged by its size.
    static unsigned long long capacity(const std::string& path);

private:
    std::string path_;
    std::FILE* plain_ = nullptr;
    void* compressed_ = nullptr;
};

}  // namespace ztlabel
