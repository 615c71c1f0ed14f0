// The access layer's memory pool: levels of segment lists, and one table of
// allocations whose 1-based indices are the layer's handles.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "pm_layer.h"
#include "pm_pool.h"

namespace pm {
namespace {

struct Segment {
    Segment* Next;
    uint8_t* FreePtr;
    uint32_t Size;
    uint32_t Free;
};
static_assert(sizeof(Segment) == kSegmentHeader, "segment header is 24 bytes");

struct Entry {
    void* Address;
    uint32_t Length;
    uint32_t UseFlag;
};

constexpr uint32_t kInUse = 1;
constexpr uint32_t kFree = 2;

struct Pool {
    Segment* levels[kMaxLevels] = {};
    int32_t level = -1;  // index of the current level, -1 for none
    Entry table[kMaxEntries] = {};
    uint32_t count = 0;
};

Pool& pool() {
    static Pool p;
    return p;
}

void* reuseFreed(uint32_t size, uint32_t* token, uint32_t zero) {
    Pool& p = pool();
    Entry* best = nullptr;
    for (uint32_t i = 0; i < p.count; ++i) {
        Entry& e = p.table[i];
        if (e.UseFlag != kFree || e.Length < size) continue;
        if (best == nullptr || e.Length < best->Length) best = &e;
    }
    if (best == nullptr) return nullptr;
    best->UseFlag = kInUse;
    *token = static_cast<uint32_t>(best - p.table) + 1;
    if (zero) std::memset(best->Address, 0, size);
    return best->Address;
}

Segment* segmentWithRoom(uint32_t size) {
    for (Segment* s = pool().levels[pool().level]; s != nullptr; s = s->Next) {
        if (s->Free >= size) return s;
    }
    uint64_t bytes =
        size < kDefaultSize - kSegmentHeader ? kDefaultSize : uint64_t{size} + kSegmentHeader;
    if (bytes > UINT32_MAX) return nullptr;
    auto* s = static_cast<Segment*>(std::calloc(1, bytes));
    if (s == nullptr) return nullptr;
    s->Size = static_cast<uint32_t>(bytes);
    s->Free = s->Size - kSegmentHeader;
    s->FreePtr = reinterpret_cast<uint8_t*>(s) + kSegmentHeader;
    s->Next = pool().levels[pool().level];
    pool().levels[pool().level] = s;
    return s;
}

}  // namespace

uint32_t poolEntryLength(uint32_t token) {
    Pool& p = pool();
    if (token < 1 || token > p.count || token > kMaxEntries) return 0;
    const Entry& e = p.table[token - 1];
    return e.UseFlag == kInUse ? e.Length : 0;
}

uint32_t poolSegmentSizeOfNewest() {
    Pool& p = pool();
    return p.level < 0 || p.levels[p.level] == nullptr ? 0 : p.levels[p.level]->Size;
}

}  // namespace pm

using namespace pm;

extern "C" int32_t pmMMNewPool(void) noexcept {
    Pool& p = pool();
    ++p.level;
    if (p.level >= static_cast<int32_t>(kMaxLevels)) return -1;
    p.levels[p.level] = nullptr;
    return 0;
}

extern "C" void pmMMFreePool(void) noexcept {
    forgetCheckedFile();
    Pool& p = pool();
    p.count = 0;
    if (p.level >= static_cast<int32_t>(kMaxLevels)) p.level = kMaxLevels - 1;
    if (p.level < 0) return;
    for (Segment* s = p.levels[p.level]; s != nullptr;) {
        Segment* next = s->Next;
        std::free(s);
        s = next;
    }
    p.levels[p.level] = nullptr;
    --p.level;
}

extern "C" void* pmGetMem(uint32_t Size, uint32_t* Token, uint32_t bZero) noexcept {
    if (void* reused = reuseFreed(Size, Token, bZero)) return reused;
    Pool& p = pool();
    // The count stays raised when the table is full; only a failed segment
    // allocation gives the entry back.
    if (p.count++ >= kMaxEntries - 1) {
        if (traceAbove(1)) TRCECMTI("pmGetMem", "!ERROR! Number of memory segments >", kMaxEntries);
        return nullptr;
    }
    Segment* s = p.level < 0 || p.level >= static_cast<int32_t>(kMaxLevels) ? nullptr
                                                                            : segmentWithRoom(Size);
    if (s == nullptr) {
        if (traceAbove(1)) trceprnt("pmGetMem", "!ERROR! pmMMGet failed", "");
        --p.count;
        return nullptr;
    }
    void* address = s->FreePtr;
    s->FreePtr += Size;
    s->Free -= Size;
    Entry& e = p.table[p.count - 1];
    e = {address, Size, kInUse};
    *Token = p.count;
    if (bZero) std::memset(address, 0, Size);
    return address;
}

extern "C" void* pmGetMemA(uint32_t Token) noexcept {
    Pool& p = pool();
    if (Token < 1 || Token > p.count || Token > kMaxEntries) return nullptr;
    Entry& e = p.table[Token - 1];
    return e.UseFlag == kInUse ? e.Address : nullptr;
}

extern "C" void pmFreeMem(uint32_t Token) noexcept {
    forgetCheckedFile();
    Pool& p = pool();
    if (Token < 1 || Token > p.count || Token > kMaxEntries) return;
    p.table[Token - 1].UseFlag = kFree;
}

extern "C" void pmMMDiag(uint32_t Request) noexcept {
    (void)Request;
    Pool& p = pool();
    uint64_t used = 0, allocated = 0;
    for (int32_t l = 0; l <= p.level && l < static_cast<int32_t>(kMaxLevels); ++l) {
        for (Segment* s = p.levels[l]; s != nullptr; s = s->Next) {
            used += s->Size - s->Free;
            allocated += s->Size;
        }
    }
    uint32_t shown = p.count < kMaxEntries ? p.count : kMaxEntries;
    std::printf("Memory Management Diagnostics:\n");
    std::printf("Total Memory used     =%d bytes\n", static_cast<int>(used));
    std::printf("Total Memory allocated=%d bytes\n", static_cast<int>(allocated));
    std::printf("Current minimum allocation (DFLTSIZE)=%d bytes\n", static_cast<int>(kDefaultSize));
    std::printf("%d of %d (max) MM entries in table\n", static_cast<int>(p.count),
                static_cast<int>(kMaxEntries));
    if (shown > 0) std::printf("Index  Address     Length UseFlag\n");
    for (uint32_t i = 0; i < shown; ++i) {
        const Entry& e = p.table[i];
        std::printf("%05d %08X %10d %d\n", static_cast<int>(i),
                    static_cast<unsigned>(reinterpret_cast<uintptr_t>(e.Address)),
                    static_cast<int>(e.Length), static_cast<int>(e.UseFlag));
    }
    std::fflush(stdout);
}
