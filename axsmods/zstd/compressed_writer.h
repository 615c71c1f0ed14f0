// compressed_writer.h - a file being written: blocks from the layer are
// compressed into one frame after another. A position ends the open frame,
// so that every position lies at a frame boundary and a restart can cut the
// file there and carry on with new frames: concatenated frames are one
// valid stream.
#ifndef BU_ZSTDAXSM_COMPRESSED_WRITER_H
#define BU_ZSTDAXSM_COMPRESSED_WRITER_H

#include <zstd.h>

#include <memory>
#include <vector>

#include "init_settings.h"
#include "module_file.h"
#include "posix_file.h"

namespace zstdaxsm {

class CompressedWriter : public ModuleFile {
  public:
    // `append`: keep what the file holds and write behind it.
    static uint32_t open(const std::string& name, bool append, const Settings& settings,
                         std::unique_ptr<ModuleFile>* out);
    ~CompressedWriter() override;

    uint32_t read(uint8_t* into, uint32_t room, uint32_t* got) override;
    uint32_t write(const uint8_t* bytes, uint32_t length) override;
    uint32_t position(ZstdPosition* out) override;
    uint32_t reposition(const ZstdPosition& at) override;
    uint32_t close() override;

  private:
    explicit CompressedWriter(bool sync) : sync_(sync) {}
    uint32_t configure(const Settings& settings);
    uint32_t compress(ZSTD_inBuffer* input, ZSTD_EndDirective mode);
    uint32_t endFrame();
    uint32_t checkAppendable();
    // Once a write has failed, the file's end is unknown: every later call
    // gives the same failure instead of writing behind a hole.
    uint32_t fail(const std::string& why);

    PosixFile file_;
    ZSTD_CCtx* cctx_ = nullptr;
    std::vector<uint8_t> out_;
    bool sync_;
    uint64_t offset_ = 0;      // compressed bytes in the file
    uint64_t frameBytes_ = 0;  // uncompressed bytes in the open frame
    bool checkTail_ = false;   // appending to a file whose end isn't checked yet
    std::string failure_;
};

}  // namespace zstdaxsm

#endif  // BU_ZSTDAXSM_COMPRESSED_WRITER_H
