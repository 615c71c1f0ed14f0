// File layout, little-endian: "BUHCKPT2", flags (4, bit 0: a record
// follows), record length (4), position (8), FNV-1a 64 of flags, position
// and record (8), then the record.
#include "shared/checkpoint_store.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "job/job_definition.h"
#include "job/path_resolver.h"

namespace buhost {
namespace {

constexpr char kMagic[8] = {'B', 'U', 'H', 'C', 'K', 'P', 'T', '2'};
constexpr size_t kHeaderSize = 8 + 4 + 4 + 8 + 8;
constexpr uint32_t kHasRecord = 1;

uint64_t fnv1a(const uint8_t* p, size_t n, uint64_t h = 1469598103934665603ull) {
    for (size_t i = 0; i < n; ++i) h = (h ^ p[i]) * 1099511628211ull;
    return h;
}

uint64_t checksum(uint32_t flags, uint64_t position, const uint8_t* record, uint32_t length) {
    uint8_t head[12];
    std::memcpy(head, &flags, 4);
    std::memcpy(head + 4, &position, 8);
    return fnv1a(record, length, fnv1a(head, sizeof head));
}

bool writeAll(int fd, const uint8_t* p, size_t n) {
    while (n > 0) {
        ssize_t w = ::write(fd, p, n);
        if (w < 0 && errno == EINTR) continue;
        if (w <= 0) return false;
        p += w;
        n -= static_cast<size_t>(w);
    }
    return true;
}

}  // namespace

CheckpointStore::CheckpointStore(const std::string& dir, const std::string& jobName, int instance)
    : path_(dir + "/" + jobName + "-" + std::to_string(instance) + ".ckpt") {}

bool CheckpointStore::save(const StoredCheckpoint& checkpoint) const {
    const uint32_t flags = checkpoint.hasRecord ? kHasRecord : 0;
    const uint32_t length =
        checkpoint.hasRecord ? static_cast<uint32_t>(checkpoint.record.size()) : 0;
    std::vector<uint8_t> file(kHeaderSize + length);
    std::memcpy(file.data(), kMagic, 8);
    std::memcpy(file.data() + 8, &flags, 4);
    std::memcpy(file.data() + 12, &length, 4);
    std::memcpy(file.data() + 16, &checkpoint.position, 8);
    uint64_t sum = checksum(flags, checkpoint.position, checkpoint.record.data(), length);
    std::memcpy(file.data() + 24, &sum, 8);
    if (length > 0) std::memcpy(file.data() + kHeaderSize, checkpoint.record.data(), length);

    std::string tmp = path_ + ".tmp";
    int fd = ::open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) return false;
    bool ok = writeAll(fd, file.data(), file.size()) && ::fsync(fd) == 0;
    ok = (::close(fd) == 0) && ok;
    if (!ok || ::rename(tmp.c_str(), path_.c_str()) != 0) {
        ::unlink(tmp.c_str());
        return false;
    }
    int dirfd = ::open(folderOf(path_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dirfd >= 0) {
        ::fsync(dirfd);
        ::close(dirfd);
    }
    return true;
}

std::optional<StoredCheckpoint> CheckpointStore::load() const {
    int fd = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        if (errno == ENOENT) return std::nullopt;
        throw JobError("cannot read checkpoint " + path_ + ": " + std::strerror(errno));
    }
    std::vector<uint8_t> file;
    uint8_t chunk[4096];
    for (;;) {
        ssize_t n = ::read(fd, chunk, sizeof chunk);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        file.insert(file.end(), chunk, chunk + n);
    }
    ::close(fd);
    uint32_t flags = 0, length = 0;
    StoredCheckpoint out;
    uint64_t sum = 0;
    if (file.size() < kHeaderSize || std::memcmp(file.data(), kMagic, 8) != 0)
        throw JobError("not a checkpoint file: " + path_);
    std::memcpy(&flags, file.data() + 8, 4);
    std::memcpy(&length, file.data() + 12, 4);
    std::memcpy(&out.position, file.data() + 16, 8);
    std::memcpy(&sum, file.data() + 24, 8);
    if (file.size() != kHeaderSize + length || (flags & ~kHasRecord) != 0 ||
        (length > 0 && !(flags & kHasRecord)) ||
        checksum(flags, out.position, file.data() + kHeaderSize, length) != sum)
        throw JobError("damaged checkpoint file: " + path_);
    out.hasRecord = (flags & kHasRecord) != 0;
    out.record.assign(file.begin() + kHeaderSize, file.end());
    return out;
}

void CheckpointStore::discard() const {
    ::unlink(path_.c_str());
    ::unlink((path_ + ".tmp").c_str());
}

}  // namespace buhost
