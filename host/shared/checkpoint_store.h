// Checkpoint files: one per instance, holding the operator's newest record
// and the host's stream position, replaced atomically (temporary file,
// fsync, rename) so that a kill at any moment leaves the old or the new one.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace buhost {

struct StoredCheckpoint {
    uint64_t position = 0;  // rows of this instance delivered before the record
    std::vector<uint8_t> record;
};

class CheckpointStore {
  public:
    CheckpointStore(const std::string& dir, const std::string& jobName, int instance);

    // False (errno set) when the file could not be written in full.
    bool save(uint64_t position, const void* record, uint32_t length) const;
    // The stored checkpoint, nullopt when there is none; throws JobError for
    // a file that is not a checkpoint of ours.
    std::optional<StoredCheckpoint> load() const;
    void discard() const;

    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

}  // namespace buhost
