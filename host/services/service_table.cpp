// The service functions the handles point at. Each finds its instance through
// the handle registry, so a null, stale or foreign handle gets status 1
// without being read, and no C++ exception ever reaches the operator.
#include "services/service_table.h"

#include "services/handle_registry.h"
#include "services/host_instance.h"

namespace buhost {
namespace {

template <typename Body>
int32_t guarded(Body body) noexcept {
    try {
        return body();
    } catch (...) {
        return PXSTC_SystemError;
    }
}

HostInstance* ownerOf(const void* handle, uint64_t kind) {
    const HandleEntry* e = findHandle(handle, kind);
    return e ? e->owner : nullptr;
}

#define BU_OPERATOR_SERVICE(call)                       \
    HostInstance* inst = ownerOf(oh, PX_KIND_OPERATOR); \
    if (inst == nullptr) return PXSTC_BadHandle;        \
    return guarded([&] { return call; })

int32_t createGlobalVar(OperatorHandle* oh, const char* name, int32_t elemSize,
                        int32_t elemCount) noexcept {
    BU_OPERATOR_SERVICE(inst->globals().create(name, elemSize, elemCount));
}
int32_t deleteGlobalVar(OperatorHandle* oh, const char* name) noexcept {
    BU_OPERATOR_SERVICE(inst->globals().remove(name));
}
int32_t readGlobalVar(OperatorHandle* oh, const char* name, int32_t index, void** value,
                      int32_t* length) noexcept {
    BU_OPERATOR_SERVICE(inst->globals().read(name, index, value, length));
}
int32_t writeGlobalVar(OperatorHandle* oh, const char* name, const void* value, int32_t length,
                       int32_t index) noexcept {
    BU_OPERATOR_SERVICE(inst->globals().write(name, value, length, index));
}
int32_t readCheckpointRecord(OperatorHandle* oh, void** record, int32_t* length) noexcept {
    BU_OPERATOR_SERVICE(inst->readCheckpointRecord(record, length));
}
int32_t writeCheckpointRecord(OperatorHandle* oh, const void* record, int32_t length) noexcept {
    BU_OPERATOR_SERVICE(inst->writeCheckpointRecord(record, length));
}
int32_t consoleWrite(OperatorHandle* oh, const char* text, int64_t length) noexcept {
    BU_OPERATOR_SERVICE(inst->consoleWrite(text, length));
}
int32_t getTableSchemaList(OperatorHandle* oh, int64_t kind, SchemaHandle*** list,
                           int32_t* count) noexcept {
    BU_OPERATOR_SERVICE(inst->getTableSchemaList(kind, list, count));
}
int32_t getAttribute(OperatorHandle* oh, const char* name, void** value, int32_t* length) noexcept {
    BU_OPERATOR_SERVICE(inst->getAttribute(name, value, length));
}
int32_t setAttribute(OperatorHandle* oh, const char* name, const void* value,
                     int32_t length) noexcept {
    BU_OPERATOR_SERVICE(inst->setAttributeService(name, value, length));
}
int32_t logInit(OperatorHandle* oh, const char* owner, int32_t instance, const char* logName,
                int32_t reserved, LogHandle** out) noexcept {
    BU_OPERATOR_SERVICE(inst->logInit(owner, instance, logName, reserved, out));
}
int32_t getUserId(OperatorHandle* oh, char** userId) noexcept {
    BU_OPERATOR_SERVICE(inst->getUserId(userId));
}

#define BU_SCHEMA_SERVICE(call)                       \
    HostInstance* inst = ownerOf(sh, PX_KIND_SCHEMA); \
    if (inst == nullptr) return PXSTC_BadHandle;      \
    return guarded([&] { return call; })

int32_t getRow(SchemaHandle* sh, int32_t* columnCount, uint8_t** indicators, uint32_t** offsets,
               uint32_t** lengths, void** rowData, uint32_t* rowLength) noexcept {
    BU_SCHEMA_SERVICE(inst->getRow(columnCount, indicators, offsets, lengths, rowData, rowLength));
}
int32_t putRow(SchemaHandle* sh, int32_t columnCount, const uint8_t* indicators,
               const uint32_t* offsets, const uint32_t* lengths, const void* rowData,
               uint32_t rowLength) noexcept {
    const HostInstance::RowColumns put{
        columnCount, indicators, offsets, lengths, static_cast<const uint8_t*>(rowData), rowLength};
    BU_SCHEMA_SERVICE(inst->putRow(put));
}
int32_t getColumnSchemaList(SchemaHandle* sh, ColumnHandle*** list, int32_t* count) noexcept {
    BU_SCHEMA_SERVICE(inst->getColumnSchemaList(list, count));
}
int32_t getBuffer(SchemaHandle* sh, uint8_t* hasIndicators, void** buffer,
                  uint32_t* usedLength) noexcept {
    BU_SCHEMA_SERVICE(inst->getBuffer(hasIndicators, buffer, usedLength));
}
int32_t putBuffer(SchemaHandle* sh, int32_t one, const void* buffer, uint32_t length) noexcept {
    BU_SCHEMA_SERVICE(inst->putBuffer(one, static_cast<const uint8_t*>(buffer), length));
}

int32_t getMetadataColumnSchema(ColumnHandle* ch, char** name, int32_t* type, uint32_t* length,
                                uint32_t* offset, int16_t* precision, int16_t* scale, uint8_t* ind,
                                int32_t* metadataKind) noexcept {
    const HandleEntry* e = findHandle(ch, PX_KIND_COLUMN);
    if (e == nullptr) return PXSTC_BadHandle;
    return guarded([&] {
        return e->owner->getColumnSchema(e->detail, name, type, length, offset, precision, scale,
                                         ind, metadataKind);
    });
}
int32_t getColumnFormats(ColumnHandle* ch, char* inputFormat, char* outputFormat) noexcept {
    const HandleEntry* e = findHandle(ch, PX_KIND_COLUMN);
    if (e == nullptr) return PXSTC_BadHandle;
    return guarded(
        [&] { return e->owner->getColumnFormats(e->detail, inputFormat, outputFormat); });
}

int32_t logWrite(LogHandle* lh, int32_t number, int32_t, int32_t severity, va_list args) noexcept {
    const HandleEntry* e = findHandle(lh, PX_KIND_LOG);
    if (e == nullptr) return PXSTC_BadHandle;
    auto* log = reinterpret_cast<OpenLog*>(e->detail);
    return guarded([&] { return e->owner->logWrite(*log, number, severity, args); });
}
int32_t logClose(LogHandle* lh) noexcept {
    const HandleEntry* e = findHandle(lh, PX_KIND_LOG);
    if (e == nullptr) return PXSTC_BadHandle;
    auto* log = reinterpret_cast<OpenLog*>(e->detail);
    return guarded([&] { return e->owner->logClose(*log); });
}

const LogServices kLogServices = [] {
    LogServices s{};
    s.PX_LogWrite = logWrite;
    s.PX_LogClose = logClose;
    return s;
}();

}  // namespace

void fillOperatorServices(OperatorHandle& h) {
    h.kind = PX_KIND_OPERATOR;
    h.PX_CreateGlobalVar = createGlobalVar;
    h.PX_DeleteGlobalVar = deleteGlobalVar;
    h.PX_ReadGlobalVar = readGlobalVar;
    h.PX_WriteGlobalVar = writeGlobalVar;
    h.PX_ReadCheckpointRecord = readCheckpointRecord;
    h.PX_WriteCheckpointRecord = writeCheckpointRecord;
    h.PX_ConsoleWrite = consoleWrite;
    h.PX_GetTableSchemaList = getTableSchemaList;
    h.PX_GetAttribute = getAttribute;
    h.PX_SetAttribute = setAttribute;
    h.PX_Loginit = logInit;
    h.PX_GetUserId = getUserId;
}

void fillSchemaServices(SchemaHandle& h) {
    h.kind = PX_KIND_SCHEMA;
    h.PX_GetRow = getRow;
    h.PX_PutRow = putRow;
    h.PX_GetColumnSchemaList = getColumnSchemaList;
    h.PX_GetBuffer = getBuffer;
    h.PX_PutBuffer = putBuffer;
}

void fillColumnServices(ColumnHandle& h) {
    h.kind = PX_KIND_COLUMN;
    h.PX_GetMetadataColumnSchema = getMetadataColumnSchema;
    h.PX_GetColumnFormats = getColumnFormats;
}

void fillLogServices(LogHandle& h) {
    h.kind = PX_KIND_LOG;
    h.services = const_cast<LogServices*>(&kLogServices);
}

}  // namespace buhost
