// The data error dump: when a data error stops a record or the job, the
// private log gets the file, the record and column, the delimiter settings
// in force and the state of the file's block, for whoever has to find the
// record afterwards.
#include "data_error_dump.h"

#include <sys/stat.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "charsets.h"
#include "dc_messages.h"
#include "file_settings.h"
#include "pmdcomt.h"
#include "text_attr.h"

namespace {

constexpr char kFn[] = "DumpFileInfo";
constexpr char kStars[] = "**************************************************";

void line(const char* format, ...) __attribute__((format(printf, 1, 2)));

void line(const char* format, ...) {
    char text[bu::dc::kLineSize];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    bu::dc::traceText(kFn, bu::dc::kInfo, text);
}

// The output file's record, when pmfp names an open one.
const FileInfo* outputFile() {
    if (pmfp == 0) return nullptr;
    const auto* file = static_cast<const FileInfo*>(pmGetMemA(pmfp));
    return file != nullptr && file->MMToken == pmfp ? file : nullptr;
}

void identification(const FileInfo* file) {
    pmHandle module = file != nullptr && file->PPtr != nullptr ? file->PPtr->MMToken : 0;
    VersionRecord* chain = nullptr;
    uint32_t rc = pmGetID(module, &chain);
    if (rc != pmrcOK) {
        line("pmGetID failed, rc=%d", static_cast<int32_t>(rc));
        return;
    }
    static const char kDots[] = "..................................................";
    for (const VersionRecord* r = chain; r != nullptr; r = r->Next) {
        int width = 40 - static_cast<int>(strnlen(r->Name, sizeof r->Name));
        if (width < 1) width = 1;
        line("%.32s%.*s %.32s", r->Name, width, kDots, r->Version);
    }
}

const char* ioKind(const FileInfo* file) {
    if (file == nullptr) return "Native I/O";
    if (file->PPtr != nullptr && file->PPtr->pmIPCHandle != nullptr) return "Access Module I/O";
    struct stat st;
    if (stat(file->FName, &st) != 0) return "Native I/O";
    return S_ISFIFO(st.st_mode) ? "Native I/O (PIPE)" : "Native I/O (non-PIPE)";
}

void recordLine(int32_t column) {
    auto record = static_cast<int32_t>(FileRecordCount + 1);
    if (column >= 0) {
        line("Record number: %d, column %d.", record, column + 1);
    } else if (column == -2) {
        line("Record number: %d indicator bytes.", record);
    } else {
        line("Record number: %d", record);
    }
}

void settingLine(const char* label, const TextAttr& setting) {
    int32_t length = setting.Length;
    if (length < 0) length = 0;
    if (length > 100) length = 100;
    line("%s = '%s' (length %d)", label, pHEXvalue(setting.Bytes, length), setting.Length);
}

void delimiterSettings() {
    line("Character set: %s", SG_CharsetName);
    settingLine("Delimiter", TextDelimiter);
    settingLine("EscapeTextCharacter", EscapeTextCharacter);
    static const char* const kQuoted[] = {"No", "Yes", "Optional"};
    line("Quoted data: %s", bQuotedData >= 0 && bQuotedData <= 2 ? kQuoted[bQuotedData] : "No");
    settingLine("OpenQuoteMark", OpenQuoteMark);
    settingLine("CloseQuoteMark", CloseQuoteMark);
    settingLine("EscapeQuoteCharacter", EscapeQuoteCharacter);
    settingLine("TrimLeadingChar", TrimLeadingChar);
    settingLine("TrimTrailingChar", TrimTrailingChar);
    settingLine("EscapeRecDelim", EscapeRecDelim);
}

const char* accessMode(int16_t mode) {
    switch (mode) {
        case pmOpenRead:
            return "Read";
        case pmOpenWrite:
            return "Write";
        case pmOpenUpdate:
            return "ReadWrite";
        default:
            return "INVALID";
    }
}

void blockState(const FileInfo* file) {
    if (file == nullptr) {
        line("Error file information missing.");
        return;
    }
    line("Access Mode: '%s'", accessMode(file->OpenMode));
    line("Buffer Size: %llu", static_cast<unsigned long long>(file->BufferSize));
    line("Buffer Position: %llu (x'%08X')", static_cast<unsigned long long>(file->BufferPosition),
         static_cast<uint32_t>(file->BufferPosition));
    line("Buffer End: %llu (x'%08X')", static_cast<unsigned long long>(file->BufferEnd),
         static_cast<uint32_t>(file->BufferEnd));
    line("Record Count: %d", static_cast<int32_t>(file->RecCount));
    uint16_t eorLength = file->EORLength <= sizeof file->EOR ? file->EORLength : sizeof file->EOR;
    line("EOR bytes[%d]: %s", file->EORLength, pHEXvalue(file->EOR, eorLength));
}

}  // namespace

extern "C" void DumpFileInfo(int32_t Column) noexcept {
    if (DC_TraceLvl < StatsTraceLevel) return;
    if (bParallelReadSlave) {
        line("Refer to private log for instance 1 for further diagnostics");
        return;
    }
    if (Private_loghandle == nullptr) return;

    const FileInfo* file = outputFile();
    line("*** DATA ERROR >%s", kStars);
    identification(file);
    line("Data description at error:");
    line("File name: %.4096s", file != nullptr ? file->FName : "<UNKNOWN>");
    line("%s", ioKind(file));
    recordLine(Column);
    line("Data Format: '%s'", Format_C);
    if (TextDelimiter.Length != 0) delimiterSettings();
    blockState(file);
    line("*** < DATA ERROR%s", kStars);
}
