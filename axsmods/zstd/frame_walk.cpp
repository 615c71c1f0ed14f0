#include "frame_walk.h"

#include "module_text.h"

namespace zstdaxsm {
namespace {

constexpr uint32_t kFrameMagic = 0xFD2FB528u;
constexpr uint32_t kSkippableMagic = 0x184D2A50u;  // the low four bits are free
constexpr uint32_t kSkippableMask = 0xFFFFFFF0u;
constexpr uint64_t kBlockHeaderSize = 3;
constexpr uint64_t kChecksumSize = 4;
constexpr uint32_t kReservedBlockType = 3;
constexpr uint32_t kRleBlockType = 1;

uint32_t littleEndian(const uint8_t* b, int n) {
    uint32_t v = 0;
    for (int i = n - 1; i >= 0; --i) v = (v << 8) | b[i];
    return v;
}

// Header bytes of a frame behind its magic number, from its descriptor byte.
uint64_t frameHeaderSize(uint8_t descriptor) {
    static constexpr uint64_t kDictIdSize[] = {0, 1, 2, 4};
    static constexpr uint64_t kContentSizeSize[] = {0, 2, 4, 8};
    bool singleSegment = (descriptor >> 5) & 1;
    uint64_t contentSize = kContentSizeSize[descriptor >> 6];
    if (contentSize == 0 && singleSegment) contentSize = 1;
    return 1 + (singleSegment ? 0 : 1) + kDictIdSize[descriptor & 3] + contentSize;
}

enum class Frame { whole, cutOff, notAFrame, readError };

// The end of the frame that starts at `at`, in `end`.
Frame frameEnd(PosixFile& file, uint64_t at, uint64_t fileSize, uint64_t* end, std::string* why) {
    uint8_t head[5];
    if (!file.readAt(head, 4, at, why)) return why->empty() ? Frame::cutOff : Frame::readError;
    uint32_t magic = littleEndian(head, 4);
    if ((magic & kSkippableMask) == kSkippableMagic) {
        if (!file.readAt(head, 4, at + 4, why)) {
            return why->empty() ? Frame::cutOff : Frame::readError;
        }
        *end = at + 8 + littleEndian(head, 4);
        return *end <= fileSize ? Frame::whole : Frame::cutOff;
    }
    if (magic != kFrameMagic) return Frame::notAFrame;
    if (!file.readAt(head + 4, 1, at + 4, why)) {
        return why->empty() ? Frame::cutOff : Frame::readError;
    }
    uint8_t descriptor = head[4];
    if ((descriptor >> 3) & 1) return Frame::notAFrame;  // the reserved bit
    uint64_t pos = at + 4 + frameHeaderSize(descriptor);
    bool last = false;
    while (!last) {
        uint8_t block[kBlockHeaderSize];
        if (!file.readAt(block, kBlockHeaderSize, pos, why)) {
            return why->empty() ? Frame::cutOff : Frame::readError;
        }
        uint32_t header = littleEndian(block, 3);
        last = header & 1;
        uint32_t type = (header >> 1) & 3;
        if (type == kReservedBlockType) return Frame::notAFrame;
        pos += kBlockHeaderSize + (type == kRleBlockType ? 1 : header >> 3);
        if (pos > fileSize) return Frame::cutOff;
    }
    if ((descriptor >> 2) & 1) pos += kChecksumSize;
    *end = pos;
    return pos <= fileSize ? Frame::whole : Frame::cutOff;
}

}  // namespace

bool frameEndsAt(PosixFile& file, uint64_t target, uint64_t fileSize, std::string* why) {
    std::string where = concat({" of '", file.name(), "'"});
    if (target > fileSize) {
        *why = concat({"byte ", std::to_string(target), " lies behind the end", where, " (",
                       std::to_string(fileSize), " bytes)"});
        return false;
    }
    uint64_t at = 0;
    while (at < target) {
        uint64_t end = 0;
        switch (frameEnd(file, at, fileSize, &end, why)) {
            case Frame::whole:
                if (end > target) {
                    *why = concat({"byte ", std::to_string(target), where,
                                   " is not the end of a frame: the frame at byte ",
                                   std::to_string(at), " ends at byte ", std::to_string(end)});
                    return false;
                }
                at = end;
                break;
            case Frame::cutOff:
                *why = concat({"the frame at byte ", std::to_string(at), where,
                               " is cut off by the end of the file"});
                return false;
            case Frame::notAFrame:
                *why = concat({"byte ", std::to_string(at), where, " does not begin a frame"});
                return false;
            case Frame::readError:
                return false;
        }
    }
    return true;
}

}  // namespace zstdaxsm
