#include "posix_file.h"

#include "module_text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace zstdaxsm {

PosixFile::~PosixFile() {
    if (fd_ >= 0) ::close(fd_);
}

std::string PosixFile::failed(const char* what, uint64_t at, int error) const {
    return concat(
        {what, " '", name_, "' at byte ", std::to_string(at), " failed: ", std::strerror(error)});
}

bool PosixFile::open(const std::string& name, int flags, std::string* why) {
    name_ = name;
    do {
        fd_ = ::open(name.c_str(), flags | O_CLOEXEC, 0666);
    } while (fd_ < 0 && errno == EINTR);
    if (fd_ >= 0) return true;
    openErrno_ = errno;
    const char* what = (flags & O_ACCMODE) == O_RDONLY ? "for reading" : "for writing";
    *why = concat({"cannot open '", name, "' ", what, ": ", std::strerror(openErrno_)});
    return false;
}

bool PosixFile::close(std::string* why) {
    int fd = fd_;
    fd_ = -1;
    // The descriptor is gone whatever close(2) answers; EINTR is not retried.
    if (::close(fd) == 0) return true;
    *why = concat({"closing '", name_, "' failed: ", std::strerror(errno)});
    return false;
}

bool PosixFile::writeAll(const uint8_t* bytes, size_t length, uint64_t at, std::string* why) {
    while (length > 0) {
        ssize_t put = ::write(fd_, bytes, length);
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) {
            // A write of 0 bytes makes no progress: take it as a full device.
            *why = failed("writing", at, put < 0 ? errno : ENOSPC);
            return false;
        }
        bytes += put;
        length -= static_cast<size_t>(put);
        at += static_cast<uint64_t>(put);
    }
    return true;
}

bool PosixFile::readSome(uint8_t* bytes, size_t length, uint64_t at, size_t* got,
                         std::string* why) {
    ssize_t n = 0;
    do {
        n = ::read(fd_, bytes, length);
    } while (n < 0 && errno == EINTR);
    if (n < 0) {
        *why = failed("reading", at, errno);
        return false;
    }
    *got = static_cast<size_t>(n);
    return true;
}

bool PosixFile::readAt(uint8_t* bytes, size_t length, uint64_t at, std::string* why) {
    why->clear();
    while (length > 0) {
        ssize_t n = ::pread(fd_, bytes, length, static_cast<off_t>(at));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) *why = failed("reading", at, errno);
        if (n <= 0) return false;
        bytes += n;
        length -= static_cast<size_t>(n);
        at += static_cast<uint64_t>(n);
    }
    return true;
}

bool PosixFile::size(uint64_t* out, std::string* why) {
    struct stat st {};
    if (::fstat(fd_, &st) != 0) {
        *why = concat({"cannot tell the size of '", name_, "': ", std::strerror(errno)});
        return false;
    }
    *out = static_cast<uint64_t>(st.st_size);
    return true;
}

bool PosixFile::seek(uint64_t at, std::string* why) {
    if (::lseek(fd_, static_cast<off_t>(at), SEEK_SET) >= 0) return true;
    *why = failed("seeking in", at, errno);
    return false;
}

bool PosixFile::truncate(uint64_t at, std::string* why) {
    int rc = 0;
    do {
        rc = ::ftruncate(fd_, static_cast<off_t>(at));
    } while (rc != 0 && errno == EINTR);
    if (rc == 0) return seek(at, why);
    *why = failed("truncating", at, errno);
    return false;
}

bool PosixFile::sync(std::string* why) {
    if (::fsync(fd_) == 0) return true;
    *why = concat({"fsync of '", name_, "' failed: ", std::strerror(errno)});
    return false;
}

}  // namespace zstdaxsm
