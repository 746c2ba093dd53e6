#include "OutputFiles.h"

#include "Failure.h"
#include "Host.h"

#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace ztlabel {

namespace fs = std::filesystem;

OutputFile::OutputFile(const std::string& path, bool overwrite) : path_(path), target_(path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (fs::exists(status)) {
        if (!fs::is_regular_file(status))
            throw Failure("'" + path + "' is not a regular file and cannot be an output");
        if (!overwrite)
            throw Failure("'" + path + "' exists already (--force overwrites it)");
    }
    if (fs::is_symlink(fs::symlink_status(path, error)))
        target_ = fs::weakly_canonical(path).string();

    const fs::path folder = fs::path(target_).parent_path();
    const std::string stem = ".ztlabel-" + std::to_string(host::processId()) + "-";
    static int number = 0;  // no name twice: a name that is given up is forgotten for good
    while (stream_ == nullptr) {
        temporary_ = (folder / (stem + std::to_string(number++) + ".tmp")).string();
        if (!host::registerTemporary(temporary_))
            fail(ENAMETOOLONG);
        stream_ = host::createNew(temporary_);
        if (stream_ == nullptr) {
            const int reason = errno;
            host::forgetTemporary(temporary_);
            if (reason != EEXIST)
                fail(reason);
        }
    }
}

OutputFile::~OutputFile() {
    if (stream_ != nullptr)
        std::fclose(stream_);
    if (!temporary_.empty()) {
        std::remove(temporary_.c_str());
        host::forgetTemporary(temporary_);
    }
}

void OutputFile::write(const void* bytes, std::size_t count) {
    if (std::fwrite(bytes, 1, count, stream_) != count)
        fail(errno);
}

void OutputFile::close() {
    const bool flushed = host::flushToDisk(stream_);
    const int reason = errno;
    const bool closed = std::fclose(stream_) == 0;
    stream_ = nullptr;
    if (!flushed || !closed)
        fail(flushed ? errno : reason);
}

void OutputFile::putInPlace() {
    std::error_code error;
    fs::rename(temporary_, target_, error);
    if (error)
        throw Failure("cannot write '" + path_ + "': " + error.message());
    host::forgetTemporary(temporary_);
    temporary_.clear();
}

void OutputFile::fail(int error) const {
    throw Failure("cannot write '" + path_ + "': " + std::strerror(error));
}

OutputFile& OutputFiles::add(const std::string& path) {
    files_.push_back(std::make_unique<OutputFile>(path, overwrite_));
    return *files_.back();
}

void OutputFiles::putInPlace() {
    for (const auto& file : files_)
        file->close();
    // A signal that comes between two of them would leave a header without its voxels.
    const host::SignalsHeld held;
    for (const auto& file : files_)
        file->putInPlace();
}

struct CompressingSink::Stream {
    z_stream z = {};
    unsigned char buffer[1 << 16];
};

CompressingSink::CompressingSink(ByteSink& sink, bool compress) : sink_(sink) {
    if (!compress)
        return;
    constexpr int kGzipFormat = 15 + 16;
    stream_ = std::make_unique<Stream>();
    if (deflateInit2(&stream_->z, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipFormat, 8,
                     Z_DEFAULT_STRATEGY) != Z_OK)
        throw Failure("not enough memory to compress the output");
}

CompressingSink::~CompressingSink() {
    if (stream_)
        deflateEnd(&stream_->z);
}

void CompressingSink::write(const void* bytes, std::size_t count) {
    if (!stream_)
        return sink_.write(bytes, count);
    const auto* next = static_cast<const unsigned char*>(bytes);
    while (count > 0) {
        constexpr std::size_t kMostAtOnce = 1u << 30;  // zlib counts in 32 bits
        const std::size_t n = std::min(count, kMostAtOnce);
        stream_->z.next_in = const_cast<unsigned char*>(next);
        stream_->z.avail_in = static_cast<uInt>(n);
        pump(Z_NO_FLUSH);
        next += n;
        count -= n;
    }
}

void CompressingSink::finish() {
    if (stream_)
        pump(Z_FINISH);
}

void CompressingSink::pump(int flush) {
    z_stream& z = stream_->z;
    do {
        z.next_out = stream_->buffer;
        z.avail_out = sizeof(stream_->buffer);
        deflate(&z, flush);
        sink_.write(stream_->buffer, sizeof(stream_->buffer) - z.avail_out);
    } while (z.avail_out == 0);
}

}  // namespace ztlabel
