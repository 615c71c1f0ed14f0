#include "compressed_writer.h"

#include <fcntl.h>

#include "frame_walk.h"

namespace zstdaxsm {

uint32_t CompressedWriter::open(const std::string& name, bool append, const Settings& settings,
                                std::unique_ptr<ModuleFile>* out) {
    std::unique_ptr<CompressedWriter> writer(new CompressedWriter(settings.fsync));
    std::string why;
    int flags = append ? O_RDWR | O_CREAT : O_WRONLY | O_CREAT | O_TRUNC;
    if (!writer->file_.open(name, flags, &why)) return failWith(why);
    if (append) {
        if (!writer->file_.size(&writer->offset_, &why) ||
            !writer->file_.seek(writer->offset_, &why)) {
            return failWith(why);
        }
        // A restart cuts the file at its position first; only a plain append
        // must find whole frames at the end.
        writer->checkTail_ = writer->offset_ > 0;
    }
    uint32_t rc = writer->configure(settings);
    if (rc != pmrcOK) return rc;
    *out = std::move(writer);
    return pmrcOK;
}

CompressedWriter::~CompressedWriter() {
    ZSTD_freeCCtx(cctx_);
}

uint32_t CompressedWriter::configure(const Settings& settings) {
    cctx_ = ZSTD_createCCtx();
    if (cctx_ == nullptr) return pmrcMemory;
    const std::pair<ZSTD_cParameter, int> params[] = {
        {ZSTD_c_compressionLevel, settings.level},
        {ZSTD_c_checksumFlag, 1},  // lets a reader tell a damaged frame
        {ZSTD_c_nbWorkers, settings.threads},
    };
    for (const auto& [param, value] : params) {
        size_t rc = ZSTD_CCtx_setParameter(cctx_, param, value);
        if (ZSTD_isError(rc)) {
            return failWith(concat(
                {"cannot set up compression for '", file_.name(), "': ", ZSTD_getErrorName(rc)}));
        }
    }
    out_.resize(ZSTD_CStreamOutSize());
    return pmrcOK;
}

uint32_t CompressedWriter::fail(const std::string& why) {
    failure_ = why;
    return failWith(why);
}

uint32_t CompressedWriter::compress(ZSTD_inBuffer* input, ZSTD_EndDirective mode) {
    size_t remaining = 0;
    do {
        ZSTD_outBuffer output{out_.data(), out_.size(), 0};
        remaining = ZSTD_compressStream2(cctx_, &output, input, mode);
        if (ZSTD_isError(remaining)) {
            return fail(concat(
                {"compressing '", file_.name(), "' failed: ", ZSTD_getErrorName(remaining)}));
        }
        std::string why;
        if (!file_.writeAll(out_.data(), output.pos, offset_, &why)) return fail(why);
        offset_ += output.pos;
    } while (mode == ZSTD_e_end ? remaining != 0 : input->pos < input->size);
    return pmrcOK;
}

uint32_t CompressedWriter::endFrame() {
    ZSTD_inBuffer nothing{nullptr, 0, 0};
    uint32_t rc = compress(&nothing, ZSTD_e_end);
    if (rc == pmrcOK) frameBytes_ = 0;
    return rc;
}

uint32_t CompressedWriter::checkAppendable() {
    checkTail_ = false;
    std::string why;
    if (frameEndsAt(file_, offset_, offset_, &why)) return pmrcOK;
    return fail(concat(
        {"cannot append: ", why, " (restart the job from a checkpoint, or remove the file)"}));
}

uint32_t CompressedWriter::read(uint8_t*, uint32_t, uint32_t*) {
    return pmrcWriteOnly;
}

uint32_t CompressedWriter::write(const uint8_t* bytes, uint32_t length) {
    if (!failure_.empty()) return failWith(failure_);
    if (checkTail_ && checkAppendable() != pmrcOK) return pmrcFailure;
    ZSTD_inBuffer input{bytes, length, 0};
    uint32_t rc = compress(&input, ZSTD_e_continue);
    if (rc == pmrcOK) frameBytes_ += length;
    return rc;
}

uint32_t CompressedWriter::position(ZstdPosition* out) {
    if (!failure_.empty()) return failWith(failure_);
    if (checkTail_ && checkAppendable() != pmrcOK) return pmrcFailure;
    // An empty frame in mid-stream would be harmless but useless.
    if (frameBytes_ > 0 && endFrame() != pmrcOK) return pmrcFailure;
    std::string why;
    if (sync_ && !file_.sync(&why)) return fail(why);
    *out = {offset_, 0};
    return pmrcOK;
}

uint32_t CompressedWriter::reposition(const ZstdPosition& at) {
    std::string why;
    if (at.SkipBytes != 0) {
        return failWith(
            concat({"cannot restart '", file_.name(), "' ", std::to_string(at.SkipBytes),
                    " bytes into the frame at byte ", std::to_string(at.FrameOffset),
                    ": a file being written restarts where a frame ends"}));
    }
    uint64_t size = 0;
    if (!file_.size(&size, &why)) return failWith(why);
    if (!frameEndsAt(file_, at.FrameOffset, size, &why)) {
        return failWith(concat({"cannot restart: ", why}));
    }
    if (!file_.truncate(at.FrameOffset, &why)) return fail(why);
    ZSTD_CCtx_reset(cctx_, ZSTD_reset_session_only);
    offset_ = at.FrameOffset;
    frameBytes_ = 0;
    checkTail_ = false;
    failure_.clear();
    return pmrcOK;
}

uint32_t CompressedWriter::close() {
    uint32_t rc = pmrcOK;
    std::string why;
    if (!failure_.empty()) {
        rc = failWith(failure_);
    } else if (frameBytes_ > 0 || offset_ == 0) {
        // An empty export still gets one (empty) frame: a file of no bytes
        // is not a valid stream.
        rc = endFrame();
    }
    if (rc == pmrcOK && sync_ && !file_.sync(&why)) rc = fail(why);
    if (!file_.close(&why) && rc == pmrcOK) rc = fail(why);
    return rc;
}

}  // namespace zstdaxsm
