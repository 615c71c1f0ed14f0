// The probe: calls each service through its handle position with good,
// null and foreign arguments and writes one line per call, "<what> rc=<n>"
// (plus what came back), for the host's tests to compare.
#include <cstring>
#include <string>

#include "test_operator.h"

namespace testop {
namespace {

void line(std::FILE* out, const std::string& what, int32_t rc, const std::string& extra = "") {
    std::fprintf(out, "%s rc=%d%s%s\n", what.c_str(), rc, extra.empty() ? "" : " ", extra.c_str());
}

void probeAttributes(OperatorHandle* oh, std::FILE* out) {
    std::string names = textAttribute(oh, "TestProbeNames");
    for (size_t at = 0; at <= names.size();) {
        size_t comma = names.find(',', at);
        std::string name =
            names.substr(at, comma == std::string::npos ? std::string::npos : comma - at);
        at = comma == std::string::npos ? names.size() + 1 : comma + 1;
        if (name.empty()) continue;
        void* value = nullptr;
        int32_t length = -1;
        int32_t rc = oh->PX_GetAttribute(oh, name.c_str(), &value, &length);
        std::string extra;
        if (rc == 0) {
            extra = "len=" + std::to_string(length) +
                    " hex=" + hex(value, static_cast<size_t>(length)) +
                    " zero-behind=" + (static_cast<const char*>(value)[length] == 0 ? "1" : "0");
        }
        line(out, "attr " + name, rc, extra);
    }
}

void probeBadHandles(OperatorHandle* oh, std::FILE* out) {
    OperatorHandle foreign = *oh;  // right kind, but not a handle the host gave out
    void* value = nullptr;
    int32_t length = 0;
    line(out, "getattr-null-handle", oh->PX_GetAttribute(nullptr, "X", &value, &length));
    line(out, "getattr-foreign-handle", oh->PX_GetAttribute(&foreign, "X", &value, &length));
    line(out, "getattr-null-name", oh->PX_GetAttribute(oh, nullptr, &value, &length));
    line(out, "getattr-null-out", oh->PX_GetAttribute(oh, "SYSTEM_JobID", nullptr, &length));
    int32_t wide = 4;
    line(out, "setattr-exitcode-width4", oh->PX_SetAttribute(oh, "PX_ExitCode", &wide, 4));
    line(out, "setattr-null-value", oh->PX_SetAttribute(oh, "X", nullptr, 2));
    line(out, "console-null", oh->PX_ConsoleWrite(oh, nullptr, 3));
    line(out, "console-negative", oh->PX_ConsoleWrite(oh, "x", -1));
    line(out, "console-7-bytes", oh->PX_ConsoleWrite(oh, "console text", 7));
    char* user = nullptr;
    int32_t rc = oh->PX_GetUserId(oh, &user);
    line(out, "userid", rc, rc == 0 && user != nullptr ? std::string("value=") + user : "");
    line(out, "userid-null-out", oh->PX_GetUserId(oh, nullptr));
}

void probeSchema(OperatorHandle* oh, std::FILE* out) {
    SchemaHandle** list = nullptr;
    int32_t count = 0;
    line(out, "schemalist-kind-7", oh->PX_GetTableSchemaList(oh, 7, &list, &count));
    line(out, "schemalist-null-out", oh->PX_GetTableSchemaList(oh, 1, nullptr, &count));
    int32_t rc = oh->PX_GetTableSchemaList(oh, 1, &list, &count);
    line(out, "schemalist", rc, "count=" + std::to_string(count));
    if (rc != 0 || count != 1) return;
    SchemaHandle* sh = list[0];
    line(out, "schema-kind", 0, "kind=" + std::to_string(sh->kind));
    SchemaHandle foreign = *sh;
    int32_t cols = 0;
    uint8_t* ind = nullptr;
    uint32_t* offs = nullptr;
    uint32_t* lens = nullptr;
    void* data = nullptr;
    uint32_t len = 0;
    line(out, "getrow-null-out", sh->PX_GetRow(sh, nullptr, &ind, &offs, &lens, &data, &len));
    line(out, "getrow-foreign", sh->PX_GetRow(&foreign, &cols, &ind, &offs, &lens, &data, &len));
    line(out, "getrow-null-handle", sh->PX_GetRow(nullptr, &cols, &ind, &offs, &lens, &data, &len));
    line(out, "putbuffer-one-2", sh->PX_PutBuffer(sh, 2, "", 0));

    ColumnHandle** columns = nullptr;
    rc = sh->PX_GetColumnSchemaList(sh, &columns, &count);
    line(out, "columnlist", rc, "count=" + std::to_string(count));
    for (int32_t i = 0; rc == 0 && i < count; ++i) {
        char* name = nullptr;
        int32_t type = 0;
        uint32_t length = 0, offset = 0;
        int16_t precision = 0, scale = 0;
        uint8_t ind1 = 0;
        int32_t meta = 0;
        int32_t crc = columns[i]->PX_GetMetadataColumnSchema(
            columns[i], &name, &type, &length, &offset, &precision, &scale, &ind1, &meta);
        char buf[256];
        std::snprintf(buf, sizeof buf,
                      "name=%s type=%d len=%u off=%u prec=%d scale=%d ind=%d meta=%d",
                      crc == 0 ? name : "?", type, length, offset, precision, scale, ind1, meta);
        line(out, "column " + std::to_string(i + 1), crc, buf);
        char in[PX_FORMAT_TEXT_SIZE], outFmt[PX_FORMAT_TEXT_SIZE];
        crc = columns[i]->PX_GetColumnFormats(columns[i], in, outFmt);
        line(out, "formats " + std::to_string(i + 1), crc,
             crc == 0 ? std::string("in='") + in + "' out='" + outFmt + "'" : "");
    }
    if (rc == 0 && count > 0) {
        ColumnHandle foreignColumn = *columns[0];
        char* name = nullptr;
        int32_t type = 0;
        uint32_t length = 0, offset = 0;
        int16_t precision = 0, scale = 0;
        uint8_t ind1 = 0;
        int32_t meta = 0;
        line(out, "column-null-out",
             columns[0]->PX_GetMetadataColumnSchema(columns[0], &name, nullptr, &length, &offset,
                                                    &precision, &scale, &ind1, &meta));
        line(out, "column-foreign",
             columns[0]->PX_GetMetadataColumnSchema(&foreignColumn, &name, &type, &length, &offset,
                                                    &precision, &scale, &ind1, &meta));
    }
}

void probeGlobals(OperatorHandle* oh, std::FILE* out) {
    line(out, "global-create", oh->PX_CreateGlobalVar(oh, "Probe", 8, 2));
    line(out, "global-create-again", oh->PX_CreateGlobalVar(oh, "Probe", 8, 2));
    line(out, "global-create-size0", oh->PX_CreateGlobalVar(oh, "Probe0", 0, 2));
    line(out, "global-create-null-name", oh->PX_CreateGlobalVar(oh, nullptr, 4, 1));
    const char value[] = "abcdefg";
    line(out, "global-write-2", oh->PX_WriteGlobalVar(oh, "Probe", value, 8, 2));
    line(out, "global-write-too-long", oh->PX_WriteGlobalVar(oh, "Probe", "123456789", 9, 1));
    line(out, "global-write-index-3", oh->PX_WriteGlobalVar(oh, "Probe", value, 8, 3));
    void* got = nullptr;
    int32_t length = 0;
    int32_t rc = oh->PX_ReadGlobalVar(oh, "Probe", 2, &got, &length);
    line(out, "global-read-2", rc, rc == 0 ? "value=" + std::string(static_cast<char*>(got)) : "");
    line(out, "global-read-index-0", oh->PX_ReadGlobalVar(oh, "Probe", 0, &got, &length));
    line(out, "global-read-missing", oh->PX_ReadGlobalVar(oh, "Nope", 1, &got, &length));
    line(out, "global-delete", oh->PX_DeleteGlobalVar(oh, "Probe"));
    line(out, "global-read-deleted", oh->PX_ReadGlobalVar(oh, "Probe", 2, &got, &length));
}

void probeCheckpointsAndLogs(OperatorHandle* oh, std::FILE* out) {
    void* record = nullptr;
    int32_t length = 0;
    line(out, "ckpt-read-none", oh->PX_ReadCheckpointRecord(oh, &record, &length));
    line(out, "ckpt-write-null", oh->PX_WriteCheckpointRecord(oh, nullptr, 4));

    LogHandle* lh = nullptr;
    line(out, "loginit-reserved-1", oh->PX_Loginit(oh, "T", 1, "probe", 1, &lh));
    line(out, "loginit-slash", oh->PX_Loginit(oh, "T", 1, "a/b", 0, &lh));
    line(out, "loginit-null-out", oh->PX_Loginit(oh, "T", 1, "probe", 0, nullptr));
    int32_t rc = oh->PX_Loginit(oh, "T", 1, "probe-private", 0, &lh);
    line(out, "loginit-private", rc, rc == 0 ? "kind=" + std::to_string(lh->kind) : "");
    if (rc != 0) return;
    line(
        out, "logwrite-trace",
        logWrite(lh, PX_MSG_TRACE_LINE, 2, 3, PX_TAG_TEXT, "head    ", PX_TAG_TEXT, "the line", 0));
    LogHandle foreign = *lh;
    line(out, "logwrite-foreign", logWrite(&foreign, 19003, 2, 3, PX_TAG_TEXT, "x", 0));
    line(out, "logwrite-bad-tag", logWrite(lh, 19201, 3, 6, PX_TAG_TEXT, "L:", 9, 1, 0));
    line(out, "logclose", lh->services->PX_LogClose(lh));
    line(out, "logwrite-after-close", logWrite(lh, 19003, 2, 3, PX_TAG_TEXT, "x", 0));
    line(out, "logclose-again", lh->services->PX_LogClose(lh));

    LogHandle* pub = nullptr;
    if (oh->PX_Loginit(oh, "T", 1, nullptr, 0, &pub) != 0) return;
    line(out, "logwrite-texts",
         logWrite(pub, 19201, 3, 6, PX_TAG_TEXT, "T[1]: QLN19201", PX_TAG_TEXT, "OUTMODname", 0));
    line(out, "logwrite-mixed",
         logWrite(pub, 19102, 3, 6, PX_TAG_TEXT, "T[1]: QLN19102", PX_TAG_INT32, 7, PX_TAG_TEXT,
                  "LOB Field length", PX_TAG_INT32, -3, PX_TAG_INT64, int64_t{1} << 40, 0));
    line(out, "logwrite-null-text",
         logWrite(pub, 19501, 3, 6, PX_TAG_TEXT, "T[1]: QLN19501", PX_TAG_TEXT, "dlopen",
                  PX_TAG_TEXT, static_cast<const char*>(nullptr), 0));
    line(out, "logwrite-unknown",
         logWrite(pub, 18999, 3, 6, PX_TAG_TEXT, "T[1]: QLN18999", PX_TAG_INT32, 5, 0));
    line(out, "logwrite-no-leader",
         logWrite(pub, 19006, 3, 3, PX_TAG_TEXT, "Test Operator", PX_TAG_TEXT, "1.0", 0));
}

}  // namespace

void probeServices(OperatorHandle* oh, std::FILE* out) {
    probeAttributes(oh, out);
    probeBadHandles(oh, out);
    probeSchema(oh, out);
    probeGlobals(oh, out);
    probeCheckpointsAndLogs(oh, out);
    std::fflush(out);
}

}  // namespace testop
