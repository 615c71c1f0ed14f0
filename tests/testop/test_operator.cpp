// The test operator. By default it writes every row (and every buffer) it
// gets as a text line to "FileName" (a file per instance by "{instance}" in
// the name), checkpoints the length of that file, and on a restart cuts the
// file back to the stored length. With "TestMode" = "probe" it writes the
// probe report instead and takes no rows.
#include <unistd.h>

#include <cstring>
#include <vector>

#include "bu_export.h"
#include "bu_version.h"
#include "test_operator.h"

namespace testop {
namespace {

struct State {
    int instance = 1;
    int instances = 1;
    bool bufferMode = false;
    bool probe = false;
    bool noRecord = false;    // checkpoints without a checkpoint record
    bool checkReuse = false;  // note whether the last row's memory was overwritten
    const void* lastRow = nullptr;
    std::vector<uint8_t> lastCopy;
    int failExecuteAt = 0;
    uint64_t rows = 0;
    std::string path;
    std::FILE* out = nullptr;
    LogHandle* publicLog = nullptr;
} g;

const char kLeaderName[] = "TESTOP";

std::string leader(int number) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%s[%d]: QLN%05d", kLeaderName, g.instance, number);
    return buf;
}

void openOutput(bool truncate) {
    if (g.path.empty()) return;
    g.out = std::fopen(g.path.c_str(), truncate ? "wb" : "ab");
}

int32_t initiate(OperatorHandle* oh) {
    g.instance = intAttribute(oh, "SYSTEM_InstanceNumber", 1);
    g.instances = intAttribute(oh, "SYSTEM_MaxInstances", 1);
    g.bufferMode = textAttribute(oh, "SYSTEM_BUFFERMODE") == "Y";
    g.probe = textAttribute(oh, "TestMode") == "probe";
    g.failExecuteAt = intAttribute(oh, "TestFailExecuteAt", 0);
    g.noRecord = intAttribute(oh, "TestNoCheckpointRecord", 0) == 1;
    g.checkReuse = intAttribute(oh, "TestCheckReuse", 0) == 1;
    std::string file = textAttribute(oh, "FileName");
    if (!file.empty()) g.path = file;
    if (oh->PX_Loginit(oh, "Test Operator", g.instance, nullptr, 0, &g.publicLog) != 0)
        return PXSTC_FatalError;
    logWrite(g.publicLog, 19006, 3, 3, PX_TAG_TEXT, "Test Operator", PX_TAG_TEXT, "1.0", 0);
    // Every instance tries; all but the first get "Duplicate".
    oh->PX_CreateGlobalVar(oh, "TestPhase1", 4, g.instances);
    openOutput(intAttribute(oh, "SYSTEM_RestartMode", 0) == 0);
    if (g.probe && g.out != nullptr) probeServices(oh, g.out);
    return PXSTC_EndMethod;
}

int32_t event(OperatorHandle* oh) {
    if (intAttribute(oh, "EventFunction", 0) != PX_EVENT_MAX_ROW_SIZE) return PXSTC_NotSupported;
    PX_EventData answer{64, 0, 0};
    return oh->PX_SetAttribute(oh, "EventData", &answer, sizeof answer);
}

SchemaHandle* schema(OperatorHandle* oh) {
    SchemaHandle** list = nullptr;
    int32_t count = 0;
    if (oh->PX_GetTableSchemaList(oh, PX_SCHEMA_KIND_WRITE, &list, &count) != 0 || count != 1)
        return nullptr;
    return list[0];
}

int32_t writeRow(SchemaHandle* sh) {
    int32_t cols = 0;
    uint8_t* ind = nullptr;
    uint32_t* offs = nullptr;
    uint32_t* lens = nullptr;
    void* data = nullptr;
    uint32_t len = 0;
    int32_t rc = sh->PX_GetRow(sh, &cols, &ind, &offs, &lens, &data, &len);
    if (rc == PXSTC_EndOfData) return PXSTC_EndMethod;
    if (rc != 0) return PXSTC_FatalError;
    if (g.checkReuse) {
        // Only what was copied survives the next row: the old bytes must be
        // gone, and those the new row doesn't cover must be the host's garbage.
        if (g.lastRow != nullptr && g.out != nullptr) {
            const auto* old = static_cast<const uint8_t*>(g.lastRow);
            bool gone = std::memcmp(old, g.lastCopy.data(), g.lastCopy.size()) != 0;
            for (size_t i = len; i < g.lastCopy.size(); ++i) gone = gone && old[i] == 0xA5;
            std::fprintf(g.out, "last row overwritten=%d\n", gone);
        }
        g.lastRow = data;
        g.lastCopy.assign(static_cast<uint8_t*>(data), static_cast<uint8_t*>(data) + len);
    }
    if (g.out != nullptr) {
        std::string line = "row ind=" + hex(ind, static_cast<size_t>(cols)) + " at=";
        for (int32_t i = 0; i < cols; ++i)
            line += (i ? "," : "") + std::to_string(offs[i]) + "+" + std::to_string(lens[i]);
        line += " data=" + hex(data, len) + "\n";
        std::fputs(line.c_str(), g.out);
    }
    return PXSTC_SamePhase;
}

int32_t writeBuffer(SchemaHandle* sh) {
    uint8_t hasInd = 0;
    void* buffer = nullptr;
    uint32_t used = 0;
    int32_t rc = sh->PX_GetBuffer(sh, &hasInd, &buffer, &used);
    if (rc == PXSTC_EndOfData) return PXSTC_EndMethod;
    if (rc != 0) return PXSTC_FatalError;
    if (g.out != nullptr) {
        std::string line = "buffer ind=" + std::to_string(hasInd) +
                           " used=" + std::to_string(used) + " data=" + hex(buffer, used) + "\n";
        std::fputs(line.c_str(), g.out);
    }
    return PXSTC_SamePhase;
}

int32_t execute(OperatorHandle* oh) {
    if (g.probe) return PXSTC_EndMethod;
    if (g.failExecuteAt > 0 && ++g.rows >= static_cast<uint64_t>(g.failExecuteAt))
        return PXSTC_FatalError;
    SchemaHandle* sh = schema(oh);
    if (sh == nullptr) return PXSTC_FatalError;
    return g.bufferMode ? writeBuffer(sh) : writeRow(sh);
}

int32_t checkpoint(OperatorHandle* oh) {
    if (g.noRecord) return PXSTC_EndMethod;
    int64_t size = 0;
    if (g.out != nullptr) {
        std::fflush(g.out);
        size = std::ftell(g.out);
    }
    return oh->PX_WriteCheckpointRecord(oh, &size, sizeof size) == 0 ? PXSTC_EndMethod
                                                                     : PXSTC_FatalError;
}

int32_t restart(OperatorHandle* oh) {
    void* record = nullptr;
    int32_t length = 0;
    int64_t size = 0;
    int32_t rc = oh->PX_ReadCheckpointRecord(oh, &record, &length);
    if (rc == 0 && length == sizeof size)
        std::memcpy(&size, record, sizeof size);
    else if (rc != PXSTC_NullPointer)
        return PXSTC_FatalError;
    if (g.out != nullptr) {
        std::fflush(g.out);
        if (::ftruncate(fileno(g.out), size) != 0) return PXSTC_FatalError;
    }
    return PXSTC_EndMethod;
}

int32_t phaseOne(OperatorHandle* oh) {
    // Instance 1 is slow to finish phase 1: without a barrier the others
    // would start phase 2 before its mark is there.
    int delay = intAttribute(oh, "TestPhase1DelayMs", 0);
    if (delay > 0 && g.instance == 1) ::usleep(static_cast<useconds_t>(delay) * 1000);
    int32_t done = 1;
    oh->PX_WriteGlobalVar(oh, "TestPhase1", &done, 4, g.instance);
    return PXSTC_NextPhase;
}

int32_t phaseTwo(OperatorHandle* oh) {
    int seen = 0;
    for (int k = 1; k <= g.instances; ++k) {
        void* value = nullptr;
        int32_t length = 0;
        int32_t done = 0;
        if (oh->PX_ReadGlobalVar(oh, "TestPhase1", k, &value, &length) == 0 && length == 4)
            std::memcpy(&done, value, 4);
        seen += done;
    }
    if (g.out != nullptr) {
        std::fprintf(g.out, "phase2 saw %d of %d\n", seen, g.instances);
        std::fclose(g.out);
        g.out = nullptr;
    }
    // "TestExitCodes" = "0,4,8": instance k sets the k-th code.
    std::string codes = textAttribute(oh, "TestExitCodes");
    int16_t code = 0;
    for (int k = 1, at = 0; k <= g.instance && at <= static_cast<int>(codes.size()); ++k) {
        code = static_cast<int16_t>(std::atoi(codes.c_str() + at));
        auto comma = codes.find(',', static_cast<size_t>(at));
        if (comma == std::string::npos) break;
        at = static_cast<int>(comma) + 1;
    }
    if (code > 0) {
        oh->PX_SetAttribute(oh, "PX_ExitCode", &code, 2);
        logWrite(g.publicLog, 19015, 3, 3, PX_TAG_TEXT, leader(19015).c_str(), PX_TAG_INT32,
                 static_cast<int32_t>(code), 0);
    }
    LogHandle* lh = g.publicLog;
    g.publicLog = nullptr;
    if (lh != nullptr) lh->services->PX_LogClose(lh);
    return PXSTC_EndMethod;
}

int32_t terminate(OperatorHandle* oh, int32_t phase) {
    return phase == 1 ? phaseOne(oh) : phaseTwo(oh);
}

OperatorMethodRecord methods = {BU_VERSION, BU_VERSION, 1,       initiate, execute,
                                terminate,  checkpoint, restart, event};

}  // namespace

int32_t logWrite(LogHandle* lh, int32_t number, int32_t cls, int32_t severity, ...) {
    va_list ap;
    va_start(ap, severity);
    int32_t rc = lh->services->PX_LogWrite(lh, number, cls, severity, ap);
    va_end(ap);
    return rc;
}

std::string textAttribute(OperatorHandle* oh, const char* name) {
    void* value = nullptr;
    int32_t length = 0;
    if (oh->PX_GetAttribute(oh, name, &value, &length) != 0) return {};
    return std::string(static_cast<const char*>(value), static_cast<size_t>(length));
}

int32_t intAttribute(OperatorHandle* oh, const char* name, int32_t fallback) {
    void* value = nullptr;
    int32_t length = 0;
    if (oh->PX_GetAttribute(oh, name, &value, &length) != 0 || length != 4) return fallback;
    int32_t v = 0;
    std::memcpy(&v, value, 4);
    return v;
}

}  // namespace testop

BU_API int32_t PX_GetOperatorMethods(OperatorMethodRecord** record) noexcept {
    *record = &testop::methods;
    return 0;
}
