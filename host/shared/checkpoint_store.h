// Checkpoint files: one per instance, holding the host's stream position and
// the operator's newest record (if it wrote one), replaced atomically
// (temporary file, fsync, rename) so that a kill at any moment leaves the
// old or the new one.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace buhost {

struct StoredCheckpoint {
    uint64_t position = 0;  // rows of this instance delivered before the checkpoint
    bool hasRecord = false;
    std::vector<uint8_t> record;
};

class CheckpointStore {
  public:
    CheckpointStore(const std::string& dir, const std::string& jobName, int instance);

    // False (errno set) when the file could not be written in full.
    bool save(const StoredCheckpoint& checkpoint) const;
    // The stored checkpoint, nullopt when there is none; throws JobError for
    // a file that is not a checkpoint of ours.
    std::optional<StoredCheckpoint> load() const;
    void discard() const;

    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

}  // namespace buhost
