#include "ByteSource.h"

#include "Failure.h"

#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

namespace ztlabel {

namespace {

gzFile asGz(void* file) {
    return static_cast<gzFile>(file);
}

bool isCompressedName(const std::string& path) {
    return path.ends_with(".gz") || path.ends_with(".GZ");
}

}  // namespace

ByteSource::ByteSource(const std::string& path) : path_(path) {
    errno = 0;
    if (isCompressedName(path)) {
        compressed_ = gzopen(path.c_str(), "rb");
        if (compressed_ != nullptr)
            gzbuffer(asGz(compressed_), 1 << 18);
    } else {
        plain_ = std::fopen(path.c_str(), "rb");
    }
    if (plain_ == nullptr && compressed_ == nullptr)
        throw Failure("cannot open '" + path + "': " + std::strerror(errno ? errno : ENOMEM));
}

ByteSource::~ByteSource() {
    if (plain_ != nullptr)
        std::fclose(plain_);
    if (compressed_ != nullptr)
        gzclose_r(asGz(compressed_));
}

std::size_t ByteSource::read(void* bytes, std::size_t count) {
    if (plain_ != nullptr) {
        const std::size_t got = std::fread(bytes, 1, count, plain_);
        if (got < count && std::ferror(plain_))
            throw Failure("cannot read '" + path_ + "': " + std::strerror(errno));
        return got;
    }
    constexpr std::size_t kMostAtOnce = 1u << 30;  // zlib counts in 32 bits
    std::size_t done = 0;
    while (done < count) {
        const auto n = static_cast<unsigned>(std::min(count - done, kMostAtOnce));
        const int got = gzread(asGz(compressed_), static_cast<char*>(bytes) + done, n);
        if (got < 0) {
            int code = 0;
            gzerror(asGz(compressed_), &code);
            if (code == Z_BUF_ERROR)  // the file ends inside the compressed data
                return done;
            throw Failure(code == Z_ERRNO
                              ? "cannot read '" + path_ + "': " + std::strerror(errno)
                              : "'" + path_ + "' is damaged: its compressed data do not check");
        }
        if (got == 0)
            return done;
        done += static_cast<std::size_t>(got);
    }
    return done;
}

bool ByteSource::skip(unsigned long long count) {
    char scratch[1 << 14];
    while (count > 0) {
        const auto n =
            static_cast<std::size_t>(std::min<unsigned long long>(count, sizeof(scratch)));
        if (read(scratch, n) != n)
            return false;
        count -= n;
    }
    return true;
}

void ByteSource::verifyEnd() {
    char scratch[1 << 14];
    if (compressed_ != nullptr)
        while (read(scratch, sizeof(scratch)) == sizeof(scratch)) {
        }
    int code = Z_OK;
    if (compressed_ != nullptr)
        gzerror(asGz(compressed_), &code);
    if (code == Z_BUF_ERROR)
        throw Failure("'" + path_ + "' is truncated: its compressed data end early");
}

unsigned long long ByteSource::capacity(const std::string& path) {
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    if (error)
        throw Failure("cannot read '" + path + "': " + error.message());
    // Deflate makes at most 1032 bytes of one (a run of 258 bytes takes two bits).
    return isCompressedName(path) ? size * 1032ull : size;
}

}  // namespace ztlabel
