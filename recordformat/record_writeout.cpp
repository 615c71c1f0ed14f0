// Steps shared by the block-filling record writers.
#include "record_writeout.h"

#include <cstdio>
#include <cstring>

namespace rf {

namespace {
constexpr char kInternalError[] = "Internal logic error in PMRWFMT";
}

uint32_t internalLogicError() {
    pmSetErrTxt(kInternalError, sizeof kInternalError - 1);
    return pmrcFailure;
}

uint32_t flushOrRefuse(FileInfo* file, uint32_t flush) {
    if (flush) return pm::writeOutBuffer(file);
    trceprnt("pmrwfmtWtext", "!ERROR!", kInternalError);
    return internalLogicError();
}

uint32_t refuseOversize(const char* fn, const char* what, uint64_t length, FileInfo* file,
                        const char* verdict) {
    if (pm::traceAbove(1)) {
        char line[96];
        std::snprintf(line, sizeof line, "%s=%llu", what, static_cast<unsigned long long>(length));
        trceprnt(fn, line, "");
        std::snprintf(line, sizeof line, "BufferSize=%llu",
                      static_cast<unsigned long long>(file->BufferSize));
        trceprnt(fn, line, "");
        if (verdict == nullptr) {
            std::snprintf(line, sizeof line, "%s>BufferSize", what);
            verdict = line;
        }
        trceprnt(fn, verdict, "");
    }
    return pmrcOverflow;
}

uint32_t makeRoom(const char* fn, const char* what, FileInfo* file, uint64_t added) {
    if (added + file->BufferEnd <= file->BufferSize) return pmrcOK;
    if (pm::traceAbove(1)) {
        char line[96];
        std::snprintf(line, sizeof line, "%s + BufferEnd = %llu", what,
                      static_cast<unsigned long long>(added + file->BufferEnd));
        trceprnt(fn, line, "");
        trceprnt(fn, "Write out current records", "");
    }
    return pm::writeOutBuffer(file);
}

}  // namespace rf
