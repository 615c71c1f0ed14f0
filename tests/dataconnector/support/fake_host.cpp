#include "fake_host.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace bu::test {

FakeHost* FakeHost::current = nullptr;

std::string LoggedMessage::text(size_t i) const {
    if (i >= args.size()) return "<missing>";
    if (auto* s = std::get_if<std::string>(&args[i])) return *s;
    if (std::holds_alternative<std::nullptr_t>(args[i])) return "<null>";
    return "<not text>";
}

int32_t LoggedMessage::integer(size_t i) const {
    if (i < args.size()) {
        if (auto* v = std::get_if<int32_t>(&args[i])) return *v;
    }
    return INT32_MIN;
}

// Whether a row type carries a 2-byte length in front of its data.
static bool isVariableType(int32_t type) {
    static const std::set<int32_t> kVariable = {7, 8, 10, 13, 14, 41, 42, 61, 62, 66, 68};
    return kVariable.count(type) != 0;
}

namespace {

FakeHost& host() {
    if (FakeHost::current == nullptr) throw std::logic_error("no current FakeHost");
    return *FakeHost::current;
}

std::vector<MsgArg> decodeArgs(va_list args) {
    std::vector<MsgArg> out;
    for (int32_t tag = va_arg(args, int32_t); tag != PX_TAG_END && out.size() < 64;
         tag = va_arg(args, int32_t)) {
        if (tag == PX_TAG_INT32) {
            out.emplace_back(va_arg(args, int32_t));
        } else if (tag == PX_TAG_INT64) {
            out.emplace_back(va_arg(args, int64_t));
        } else if (tag != PX_TAG_TEXT) {
            out.emplace_back(std::string("<bad tag>"));
            break;
        } else if (const char* text = va_arg(args, const char*); text != nullptr) {
            out.emplace_back(std::string(text));
        } else {
            out.emplace_back(nullptr);
        }
    }
    return out;
}

int32_t logWrite(LogHandle* lh, int32_t number, int32_t msgClass, int32_t severity, va_list args) {
    FakeHost& h = host();
    LoggedMessage m{number, msgClass, severity, decodeArgs(args)};
    if (lh == &h.privateLog_) {
        if (h.privateWriteStatus != 0) return h.privateWriteStatus;
        h.traceLines.push_back(m.text(0) + m.text(1));
        return 0;
    }
    h.publicMessages.push_back(std::move(m));
    return 0;
}

int32_t logClose(LogHandle*) {
    ++host().logsClosed;
    return 0;
}

int32_t getAttribute(OperatorHandle*, const char* name, void** value, int32_t* length) {
    FakeHost& h = host();
    if (auto f = h.failing_.find(name); f != h.failing_.end()) return f->second;
    if (auto f = h.forged_.find(name); f != h.forged_.end()) {
        *value = f->second.first;
        *length = f->second.second;
        return 0;
    }
    if (h.multiValued_.count(name)) return PXSTC_Conflict;
    auto it = h.attributes_.find(name);
    if (it == h.attributes_.end()) return PXSTC_NotFound;
    *value = it->second.data();
    *length = static_cast<int32_t>(it->second.size() - 1);  // a zero byte stands behind
    return 0;
}

int32_t setAttribute(OperatorHandle*, const char* name, const void* value, int32_t length) {
    FakeHost& h = host();
    if (std::strcmp(name, "PX_ExitCode") == 0 && length == 2) {
        int16_t code;
        std::memcpy(&code, value, 2);
        h.exitCodes.push_back(code);
    } else if (std::strcmp(name, "EventData") == 0) {
        auto* bytes = static_cast<const uint8_t*>(value);
        h.eventData.assign(bytes, bytes + length);
    }
    return 0;
}

int32_t consoleWrite(OperatorHandle*, const char* text, int64_t length) {
    host().console.emplace_back(text, static_cast<size_t>(length));
    return 0;
}

int32_t logInit(OperatorHandle*, const char*, int32_t, const char* logName, int32_t,
                LogHandle** out) {
    FakeHost& h = host();
    if (logName == nullptr) {
        if (h.publicLogInitStatus != 0) return h.publicLogInitStatus;
        *out = &h.publicLog_;
        return 0;
    }
    h.privateLogName = logName;
    *out = &h.privateLog_;
    return 0;
}

int32_t getUserId(OperatorHandle*, char** user) {
    static char name[] = "tester";
    *user = name;
    return 0;
}

int32_t getTableSchemaList(OperatorHandle*, int64_t, SchemaHandle*** list, int32_t* count) {
    FakeHost& h = host();
    if (h.schemaListStatus != 0) return h.schemaListStatus;
    *list = h.schemaList_;
    *count = h.schemaCount;
    return 0;
}

int32_t getColumnSchemaList(SchemaHandle*, ColumnHandle*** list, int32_t* count) {
    FakeHost& h = host();
    h.columnHandles_.assign(h.columns.size(), ColumnHandle{});
    h.columnList_.clear();
    for (size_t i = 0; i < h.columns.size(); ++i) {
        h.columnHandles_[i].kind = PX_KIND_COLUMN;
        h.columnHandles_[i].hostWord0 = i;
        h.columnHandles_[i].PX_GetMetadataColumnSchema =
            [](ColumnHandle* ch, char** name, int32_t* type, uint32_t* length, uint32_t* offset,
               int16_t* precision, int16_t* scale, uint8_t* ind, int32_t* kind) -> int32_t {
            FakeHost& fh = host();
            size_t index = ch->hostWord0;
            FakeColumn& c = fh.columns.at(index);
            uint32_t at = 0;
            for (size_t k = 0; k < index; ++k) at += fh.columns[k].length;
            *name = c.name.data();
            *type = c.type;
            *length = c.length;
            *offset = at;
            *precision = c.precision;
            *scale = c.scale;
            *ind = 0;
            *kind = c.metadataKind;
            return 0;
        };
        h.columnHandles_[i].PX_GetColumnFormats = [](ColumnHandle* ch, char* in,
                                                     char* out) -> int32_t {
            FakeColumn& c = host().columns.at(ch->hostWord0);
            std::snprintf(in, PX_FORMAT_TEXT_SIZE, "%s", c.inputFormat.c_str());
            std::snprintf(out, PX_FORMAT_TEXT_SIZE, "%s", c.outputFormat.c_str());
            return 0;
        };
        h.columnList_.push_back(&h.columnHandles_[i]);
    }
    *list = h.columnList_.data();
    *count = static_cast<int32_t>(h.columnList_.size());
    return 0;
}

int32_t getRow(SchemaHandle*, int32_t* columnCount, uint8_t** indicators, uint32_t** offsets,
               uint32_t** lengths, void** rowData, uint32_t* rowLength) {
    FakeHost& h = host();
    if (h.getRowStatus != 0) return h.getRowStatus;
    if (h.rows.empty()) return PXSTC_EndOfData;
    // The previous row's memory is gone: reuse of one buffer shows a missing
    // copy in the operator.
    h.currentRow_ = std::move(h.rows.front());
    h.rows.pop_front();
    *columnCount = h.currentRow_.columnCount;
    *indicators = h.currentRow_.indicators.data();
    *offsets = h.currentRow_.offsets.data();
    *lengths = h.currentRow_.lengths.data();
    *rowData = h.currentRow_.data.data();
    *rowLength = static_cast<uint32_t>(h.currentRow_.data.size());
    return 0;
}

int32_t getBuffer(SchemaHandle*, uint8_t* hasIndicators, void** buffer, uint32_t* used) {
    FakeHost& h = host();
    if (h.buffers.empty()) return PXSTC_EndOfData;
    h.currentBuffer_ = std::move(h.buffers.front());
    h.buffers.pop_front();
    *hasIndicators = h.currentBuffer_.hasIndicators;
    *buffer = h.currentBuffer_.bytes.data();
    *used = static_cast<uint32_t>(h.currentBuffer_.bytes.size());
    return 0;
}

int32_t putRow(SchemaHandle*, int32_t columnCount, const uint8_t*, const uint32_t*, const uint32_t*,
               const void* row, uint32_t length) {
    FakeHost& h = host();
    if (h.putStatus != 0) return h.putStatus;
    const auto* bytes = static_cast<const uint8_t*>(row);
    h.putRows.push_back({columnCount, std::vector<uint8_t>(bytes, bytes + length)});
    return 0;
}

int32_t putBuffer(SchemaHandle*, int32_t, const void* buffer, uint32_t length) {
    FakeHost& h = host();
    if (h.putStatus != 0) return h.putStatus;
    const auto* bytes = static_cast<const uint8_t*>(buffer);
    h.putBuffers.emplace_back(bytes, bytes + length);
    return 0;
}

int32_t writeCheckpointRecord(OperatorHandle*, const void* record, int32_t length) {
    FakeHost& h = host();
    const auto* bytes = static_cast<const uint8_t*>(record);
    h.writtenRecord.assign(bytes, bytes + length);
    return 0;
}

int32_t readCheckpointRecord(OperatorHandle*, void** record, int32_t* length) {
    FakeHost& h = host();
    if (!h.hasStoredRecord) return PXSTC_NullPointer;
    *record = h.storedRecord.data();
    *length = static_cast<int32_t>(h.storedRecord.size());
    return 0;
}

int32_t createGlobalVar(OperatorHandle*, const char* name, int32_t size, int32_t count) {
    FakeHost& h = host();
    if (h.sharedVariables.count(name)) return PXSTC_Duplicate;
    h.sharedVariables[name].assign(static_cast<size_t>(count > 0 ? count : 0),
                                   std::vector<uint8_t>(static_cast<size_t>(size), 0));
    return 0;
}

std::vector<uint8_t>* element(const char* name, int32_t index) {
    FakeHost& h = host();
    auto it = h.sharedVariables.find(name);
    if (it == h.sharedVariables.end() || index < 1 ||
        static_cast<size_t>(index) > it->second.size()) {
        return nullptr;
    }
    return &it->second[static_cast<size_t>(index - 1)];
}

int32_t readGlobalVar(OperatorHandle*, const char* name, int32_t index, void** value,
                      int32_t* length) {
    std::vector<uint8_t>* e = element(name, index);
    if (e == nullptr) return PXSTC_NotFound;
    *value = e->data();
    *length = static_cast<int32_t>(e->size());
    return 0;
}

int32_t writeGlobalVar(OperatorHandle*, const char* name, const void* value, int32_t length,
                       int32_t index) {
    std::vector<uint8_t>* e = element(name, index);
    if (e == nullptr || static_cast<size_t>(length) > e->size()) return PXSTC_NotFound;
    std::memcpy(e->data(), value, static_cast<size_t>(length));
    return 0;
}

int32_t deleteGlobalVar(OperatorHandle*, const char* name) {
    return host().sharedVariables.erase(name) != 0 ? 0 : PXSTC_NotFound;
}

}  // namespace

FakeHost::FakeHost() {
    current = this;
    op_.kind = PX_KIND_OPERATOR;
    op_.PX_GetAttribute = getAttribute;
    op_.PX_SetAttribute = setAttribute;
    op_.PX_ConsoleWrite = consoleWrite;
    op_.PX_Loginit = logInit;
    op_.PX_GetUserId = getUserId;
    op_.PX_GetTableSchemaList = getTableSchemaList;
    op_.PX_WriteCheckpointRecord = writeCheckpointRecord;
    op_.PX_ReadCheckpointRecord = readCheckpointRecord;
    op_.PX_CreateGlobalVar = createGlobalVar;
    op_.PX_ReadGlobalVar = readGlobalVar;
    op_.PX_WriteGlobalVar = writeGlobalVar;
    op_.PX_DeleteGlobalVar = deleteGlobalVar;
    schema_.kind = PX_KIND_SCHEMA;
    schema_.PX_GetRow = getRow;
    schema_.PX_GetBuffer = getBuffer;
    schema_.PX_PutRow = putRow;
    schema_.PX_PutBuffer = putBuffer;
    schema_.PX_GetColumnSchemaList = getColumnSchemaList;
    schemaList_[0] = &schema_;
    schemaList_[1] = &schema_;
    logServices_.PX_LogWrite = logWrite;
    logServices_.PX_LogClose = logClose;
    publicLog_.kind = PX_KIND_LOG;
    publicLog_.services = &logServices_;
    privateLog_.kind = PX_KIND_LOG;
    privateLog_.services = &logServices_;

    setInt("SYSTEM_InstanceNumber", 1);
    setInt("SYSTEM_MaxInstances", 1);
    setInt("SYSTEM_OperatorType", PX_OPERATOR_TYPE_CONSUMER);
    setText("SYSTEM_LATENCYON", std::string(1, '\0'));
    setText("SYSTEM_OperatorName", "EXPORT_OP");
    setInt("SYSTEM_RestartMode", 0);
    setText("SYSTEM_JobID", "job-1");
    setInt("SYSTEM_MaxOperators", 1);
    setInt("SYSTEM_OperatorNumber", 1);
    setInt("SYSTEM_JobStepNumber", 1);
}

FakeHost::~FakeHost() {
    if (current == this) current = nullptr;
}

void FakeHost::setText(const std::string& name, const std::string& value) {
    std::vector<char> bytes(value.begin(), value.end());
    bytes.push_back('\0');
    attributes_[name] = std::move(bytes);
}

void FakeHost::setInt(const std::string& name, int32_t value) {
    std::vector<char> bytes(5, '\0');
    std::memcpy(bytes.data(), &value, 4);
    attributes_[name] = std::move(bytes);
}

const LoggedMessage* FakeHost::message(int32_t number) const {
    for (const auto& m : publicMessages) {
        if (m.number == number) return &m;
    }
    return nullptr;
}

std::string FakeHost::arguments(int32_t number) const {
    const LoggedMessage* m = message(number);
    if (m == nullptr) return "<no message>";
    std::string out;
    for (size_t i = 1; i < m->args.size(); ++i) {
        if (i > 1) out += ' ';
        if (auto* v = std::get_if<int32_t>(&m->args[i])) {
            out += std::to_string(*v);
        } else if (auto* w = std::get_if<int64_t>(&m->args[i])) {
            out += std::to_string(*w);
        } else {
            out += "'" + m->text(i) + "'";
        }
    }
    return out;
}

std::vector<int32_t> FakeHost::numbers() const {
    std::vector<int32_t> out;
    for (const auto& m : publicMessages) {
        if (m.number != 19015) out.push_back(m.number);
    }
    return out;
}

bool FakeHost::traced(const std::string& fragment) const {
    for (const auto& line : traceLines) {
        if (line.find(fragment) != std::string::npos) return true;
    }
    return false;
}

FakeRow FakeHost::makeRow(const std::vector<std::string>& values,
                          const std::vector<bool>& nulls) const {
    FakeRow row;
    row.columnCount = static_cast<int32_t>(values.size());
    size_t indicatorBytes = (columns.size() - 1) / 8 + 1;
    row.data.assign(indicatorBytes, 0);
    for (size_t i = 0; i < values.size(); ++i) {
        bool isNull = i < nulls.size() && nulls[i];
        row.indicators.push_back(isNull ? 1 : 0);
        if (isNull) row.data[i / 8] |= static_cast<uint8_t>(0x80u >> (i % 8));
        const std::string& v = values[i];
        bool variable = i < columns.size() && isVariableType(columns[i].type);
        if (variable) {
            uint16_t len = static_cast<uint16_t>(v.size());
            row.data.push_back(static_cast<uint8_t>(len & 0xff));
            row.data.push_back(static_cast<uint8_t>(len >> 8));
        }
        row.offsets.push_back(static_cast<uint32_t>(row.data.size()));
        row.lengths.push_back(static_cast<uint32_t>(v.size()));
        row.data.insert(row.data.end(), v.begin(), v.end());
    }
    return row;
}

void FakeHost::addRow(const std::vector<std::string>& values, const std::vector<bool>& nulls) {
    rows.push_back(makeRow(values, nulls));
}

}  // namespace bu::test
