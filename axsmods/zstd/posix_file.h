// posix_file.h - the module's own file: a descriptor with the calls it needs,
// each failure turned into a text that names the file, the byte and errno.
#ifndef BU_ZSTDAXSM_POSIX_FILE_H
#define BU_ZSTDAXSM_POSIX_FILE_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace zstdaxsm {

class PosixFile {
  public:
    PosixFile() = default;
    PosixFile(const PosixFile&) = delete;
    PosixFile& operator=(const PosixFile&) = delete;
    ~PosixFile();

    // Opens with open(2) flags; false with the reason in `why`.
    bool open(const std::string& name, int flags, std::string* why);
    // Closes, reporting a failure of close(2) itself.
    bool close(std::string* why);

    // Writes all bytes at the current offset, through short writes and EINTR.
    bool writeAll(const uint8_t* bytes, size_t length, uint64_t at, std::string* why);
    // Reads up to `length` bytes at the current offset (`at`, for the text);
    // 0 at the end.
    bool readSome(uint8_t* bytes, size_t length, uint64_t at, size_t* got, std::string* why);
    // Reads exactly `length` bytes at `at`; false when the file ends first
    // (then `why` stays empty) or on an error.
    bool readAt(uint8_t* bytes, size_t length, uint64_t at, std::string* why);
    bool size(uint64_t* out, std::string* why);
    bool seek(uint64_t at, std::string* why);
    bool truncate(uint64_t at, std::string* why);
    bool sync(std::string* why);

    const std::string& name() const { return name_; }
    // `errno` of the last failed open, to tell a missing file from others.
    int openErrno() const { return openErrno_; }

  private:
    std::string failed(const char* what, uint64_t at, int error) const;

    int fd_ = -1;
    int openErrno_ = 0;
    std::string name_;
};

}  // namespace zstdaxsm

#endif  // BU_ZSTDAXSM_POSIX_FILE_H
