#include "decompressed_reader.h"

#include <fcntl.h>

#include <cerrno>

#include "frame_walk.h"

namespace zstdaxsm {

uint32_t DecompressedReader::open(const std::string& name, std::unique_ptr<ModuleFile>* out) {
    std::unique_ptr<DecompressedReader> reader(new DecompressedReader);
    std::string why;
    if (!reader->file_.open(name, O_RDONLY, &why)) {
        if (reader->file_.openErrno() == ENOENT) return pmrcNoFile;
        return failWith(why);
    }
    uint64_t size = 0;
    if (!reader->file_.size(&size, &why)) return failWith(why);
    reader->dctx_ = ZSTD_createDCtx();
    if (reader->dctx_ == nullptr) return pmrcMemory;
    reader->in_.resize(ZSTD_DStreamInSize());
    reader->input_ = {reader->in_.data(), 0, 0};
    *out = std::move(reader);
    return size == 0 ? pmrcEmptyFile : pmrcOK;
}

DecompressedReader::~DecompressedReader() {
    ZSTD_freeDCtx(dctx_);
}

uint32_t DecompressedReader::fail(const std::string& why) {
    failure_ = why;
    return failWith(why);
}

uint32_t DecompressedReader::refill() {
    size_t got = 0;
    std::string why;
    if (!file_.readSome(in_.data(), in_.size(), fileOffset_, &got, &why)) return fail(why);
    input_ = {in_.data(), got, 0};
    fileOffset_ += got;
    atFileEnd_ = got == 0;
    return pmrcOK;
}

uint32_t DecompressedReader::decode(uint8_t* into, size_t room, size_t* got) {
    ZSTD_outBuffer output{into, room, 0};
    while (output.pos < output.size) {
        if (input_.pos == input_.size && !atFileEnd_ && refill() != pmrcOK) return pmrcFailure;
        size_t outBefore = output.pos, inBefore = input_.pos;
        size_t rc = ZSTD_decompressStream(dctx_, &output, &input_);
        if (ZSTD_isError(rc)) {
            return fail(concat({"'", file_.name(), "' is damaged in the frame at byte ",
                                std::to_string(frameStart_), ": ", ZSTD_getErrorName(rc)}));
        }
        frameBytes_ += output.pos - outBefore;
        bool progress = output.pos > outBefore || input_.pos > inBefore;
        if (rc == 0) {
            // The decoder stops at the end of each frame: the next begins here.
            inFrame_ = false;
            frameStart_ = consumed();
            frameBytes_ = 0;
        } else if (progress) {
            inFrame_ = true;
        }
        if (!progress && atFileEnd_ && input_.pos == input_.size) {
            if (inFrame_) {
                return fail(concat({"'", file_.name(), "' ends inside the frame at byte ",
                                    std::to_string(frameStart_), ": the file is cut short"}));
            }
            break;
        }
    }
    *got = output.pos;
    return pmrcOK;
}

uint32_t DecompressedReader::read(uint8_t* into, uint32_t room, uint32_t* got) {
    *got = 0;
    if (!failure_.empty()) return failWith(failure_);
    lastBlock_ = {frameStart_, frameBytes_};
    size_t delivered = 0;
    uint32_t rc = decode(into, room, &delivered);
    if (rc != pmrcOK) return rc;
    *got = static_cast<uint32_t>(delivered);
    return delivered == 0 ? pmrcEOF : pmrcOK;
}

uint32_t DecompressedReader::write(const uint8_t*, uint32_t) {
    return pmrcReadOnly;
}

uint32_t DecompressedReader::position(ZstdPosition* out) {
    if (!failure_.empty()) return failWith(failure_);
    *out = lastBlock_;
    return pmrcOK;
}

uint32_t DecompressedReader::reposition(const ZstdPosition& at) {
    std::string why;
    uint64_t size = 0;
    if (!file_.size(&size, &why)) return failWith(why);
    if (!frameEndsAt(file_, at.FrameOffset, size, &why)) {
        return failWith(concat({"cannot restart: ", why}));
    }
    if (!file_.seek(at.FrameOffset, &why)) return failWith(why);
    ZSTD_DCtx_reset(dctx_, ZSTD_reset_session_only);
    input_ = {in_.data(), 0, 0};
    fileOffset_ = frameStart_ = at.FrameOffset;
    atFileEnd_ = inFrame_ = false;
    frameBytes_ = 0;
    failure_.clear();
    lastBlock_ = {at.FrameOffset, at.SkipBytes};
    scratch_.resize(kBlockSize);
    for (uint64_t left = at.SkipBytes; left > 0;) {
        size_t got = 0;
        size_t want = left < scratch_.size() ? static_cast<size_t>(left) : scratch_.size();
        if (decode(scratch_.data(), want, &got) != pmrcOK) return pmrcFailure;
        if (got == 0) {
            return fail(concat({"cannot restart: '", file_.name(), "' holds fewer than ",
                                std::to_string(at.SkipBytes), " bytes behind the frame at byte ",
                                std::to_string(at.FrameOffset)}));
        }
        left -= got;
    }
    return pmrcOK;
}

uint32_t DecompressedReader::close() {
    std::string why;
    if (file_.close(&why)) return pmrcOK;
    return failWith(why);
}

}  // namespace zstdaxsm
