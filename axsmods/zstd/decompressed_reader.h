// decompressed_reader.h - a file being read: frames are decompressed one
// after the other into the layer's blocks. A position names the frame in
// which the last block began and how far into it; restoring one starts the
// decoder afresh at that frame and drops the bytes before the block.
#ifndef BU_ZSTDAXSM_DECOMPRESSED_READER_H
#define BU_ZSTDAXSM_DECOMPRESSED_READER_H

#include <zstd.h>

#include <memory>
#include <vector>

#include "module_file.h"
#include "posix_file.h"

namespace zstdaxsm {

class DecompressedReader : public ModuleFile {
  public:
    // Answers 4 for a missing file and 29 for an empty one (still opened).
    static uint32_t open(const std::string& name, std::unique_ptr<ModuleFile>* out);
    ~DecompressedReader() override;

    uint32_t read(uint8_t* into, uint32_t room, uint32_t* got) override;
    uint32_t write(const uint8_t* bytes, uint32_t length) override;
    uint32_t position(ZstdPosition* out) override;
    uint32_t reposition(const ZstdPosition& at) override;
    uint32_t close() override;

  private:
    DecompressedReader() = default;
    // Decompresses up to `room` bytes; fewer only at the end of the data.
    uint32_t decode(uint8_t* into, size_t room, size_t* got);
    uint32_t refill();
    uint64_t consumed() const { return fileOffset_ - (input_.size - input_.pos); }
    uint32_t fail(const std::string& why);

    PosixFile file_;
    ZSTD_DCtx* dctx_ = nullptr;
    std::vector<uint8_t> in_;
    std::vector<uint8_t> scratch_;  // for the bytes a restart drops
    ZSTD_inBuffer input_{nullptr, 0, 0};
    uint64_t fileOffset_ = 0;  // compressed bytes read from the file
    bool atFileEnd_ = false;
    bool inFrame_ = false;     // the decoder has begun a frame not yet ended
    uint64_t frameStart_ = 0;  // where the current (or next) frame begins
    uint64_t frameBytes_ = 0;  // uncompressed bytes of it delivered or dropped
    ZstdPosition lastBlock_{0, 0};
    std::string failure_;
};

}  // namespace zstdaxsm

#endif  // BU_ZSTDAXSM_DECOMPRESSED_READER_H
