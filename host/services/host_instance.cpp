// The services of one instance: attributes, schema, rows and buffers,
// checkpoints, console, user id and producer-side capture.
#include "services/host_instance.h"

#include <fcntl.h>
#include <pwd.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "job/attribute_values.h"
#include "job/instance_files.h"
#include "services/handle_registry.h"
#include "services/service_table.h"

namespace buhost {
namespace {

std::string currentUser() {
    if (const passwd* pw = getpwuid(getuid()); pw != nullptr && pw->pw_name != nullptr)
        return pw->pw_name;
    return "buhost";
}

}  // namespace

HostInstance::HostInstance(const JobDefinition& job, const InstanceOptions& options,
                           GlobalVariables& globals)
    : job_(job),
      options_(options),
      globals_(globals),
      checkpoints_(job.checkpointDir, job.name, options.instance),
      attributes_(attributesOfInstance(job.attributes, options.instance)),
      form_(job_.schema),
      userId_(job.userId.empty() ? currentUser() : job.userId) {
    loadCheckpoint();
    addSystemAttributes();
    fillOperatorServices(operator_);
    fillSchemaServices(schema_);
    registerHandle(&operator_, {PX_KIND_OPERATOR, this, 0});
    registerHandle(&schema_, {PX_KIND_SCHEMA, this, 0});
    columns_.resize(job_.schema.size());
    for (size_t i = 0; i < columns_.size(); ++i) {
        fillColumnServices(columns_[i]);
        registerHandle(&columns_[i], {PX_KIND_COLUMN, this, i});
        columnList_.push_back(&columns_[i]);
    }
    form_.prepare(row_);
    form_.prepare(putRow_);
    prepareRowFaults();
    row_.data.resize(row_.data.size() + kTailCover, 0);
    const FaultDefinition& f = job_.faults;
    // Each instance has answers of its own, the same from run to run.
    if (f.hostileAttributes)
        answers_.chooseWith(
            seededAnswers(f.attributeSeed * 1000003u + options_.instance, f.attributeFaultPercent));
    for (const auto& [name, kind] : f.fixedAnswers) answers_.fix(name, kind);
}

// Room for what the row faults add: a lengthened column, and array entries
// behind the last column when the reported count is raised, so an operator
// that reads them anyway reads zeros, not past the end.
void HostInstance::prepareRowFaults() {
    const FaultDefinition& f = job_.faults;
    if (f.overlongColumn != 0) row_.data.resize(row_.data.size() + f.overlongBytes, 0);
    if (f.columnCountDelta > 0) {
        const size_t entries = job_.schema.size() + static_cast<size_t>(f.columnCountDelta);
        row_.indicators.resize(std::max(row_.indicators.size(), entries), 0);
        row_.offsets.resize(entries, 0);
        row_.lengths.resize(entries, 0);
    }
}

HostInstance::~HostInstance() {
    unregisterHandle(&operator_);
    unregisterHandle(&schema_);
    for (auto& c : columns_) unregisterHandle(&c);
    for (auto& log : logs_) {
        unregisterHandle(&log->handle);
        if (log->fd >= 0) ::close(log->fd);
    }
    if (putCapture_ != nullptr) std::fclose(putCapture_);
    if (endsWithProcess_ && source_ != nullptr) source_->leaveToProcessEnd();
}

void HostInstance::addSystemAttributes() {
    auto& a = attributes_;
    a["SYSTEM_InstanceNumber"] = numberAttribute(options_.instance);
    a["SYSTEM_MaxInstances"] = numberAttribute(options_.instanceCount);
    a["SYSTEM_OperatorType"] = numberAttribute(PX_OPERATOR_TYPE_CONSUMER);
    a["SYSTEM_LATENCYON"] = byteAttribute(0);
    a["SYSTEM_OperatorName"] = textAttribute(job_.operatorName);
    a["SYSTEM_RestartMode"] = numberAttribute(resuming_ ? 1 : 0);
    a["SYSTEM_JobID"] = textAttribute(job_.jobId);
    a["SYSTEM_MaxOperators"] = numberAttribute(1);
    a["SYSTEM_OperatorNumber"] = numberAttribute(1);
    a["SYSTEM_JobStepNumber"] = numberAttribute(1);
    a["SYSTEM_LOGDIRECTORY"] = textAttribute(job_.logDir);
    a["SYSTEM_CharSetId"] = textAttribute(job_.charset);
    a["SYSTEM_BUFFERMODE"] = byteAttribute(job_.bufferMode ? 'Y' : 'N');
    a["SYSTEM_CHECKPOINT"] = numberAttribute(static_cast<int32_t>(job_.checkpointRows));
    a["SYSTEM_ExecutePassed"] = textAttribute("Y");
    a["SYSTEM_JobMaxRowSize_Allow"] = numberAttribute(1024);
    if (job_.bufferMode) {
        a["BUFFERTRAILERSIZE"] = numberAttribute(static_cast<int32_t>(job_.bufferTrailerSize));
        a["BUFFERHEADERSIZE"] = numberAttribute(PX_BUFFER_HEADER_SIZE);
        a["BUFFERLENGTHSIZE"] = numberAttribute(PX_BUFFER_LENGTH_SIZE);
        a["BUFFERMAXSIZE"] = numberAttribute(static_cast<int32_t>(bufferCapacity()));
    }
    if (!options_.traceLevel.empty()) a["TraceLevel"] = textAttribute(options_.traceLevel);
    for (const auto& [name, value] : job_.systemOverrides) a[name] = value;
    for (const auto& name : job_.systemOmitted) a.erase(name);
}

// A buffer holds at least one row of the largest size.
uint32_t HostInstance::bufferCapacity() const {
    uint32_t least = form_.maxRowLength() + PX_BUFFER_HEADER_SIZE + job_.bufferTrailerSize;
    return std::max(job_.bufferSize, least);
}

void HostInstance::openRows() {
    source_ = openRowSource(job_, form_, options_.instance - 1, options_.instanceCount);
    if (job_.bufferMode) buffer_.assign(bufferCapacity(), 0);
    if (!resuming_) return;
    source_->skip(checkpoint_.position, row_);
    rowsDelivered_ = rowsAtStart_ = checkpoint_.position;
}

// A restart resumes an instance from the checkpoint it stored. One that
// stored none (it died before its first) has nothing to resume: it runs
// again from the start, not in restart mode, as a fresh instance would.
void HostInstance::loadCheckpoint() {
    if (!options_.restart) return;
    if (auto stored = checkpoints_.load()) {
        checkpoint_ = std::move(*stored);
        resuming_ = true;
    }
}

void HostInstance::setAttribute(const std::string& name, const void* value, int32_t length) {
    AttributeValue v;
    const auto* p = static_cast<const uint8_t*>(value);
    v.bytes.assign(p, p + length);
    v.bytes.push_back(0);
    v.length = length;
    attributes_[name] = std::move(v);
}

const AttributeValue* HostInstance::attribute(const std::string& name) const {
    auto it = attributes_.find(name);
    return it == attributes_.end() ? nullptr : &it->second;
}

int HostInstance::exitCodeSetByOperator() const {
    const AttributeValue* v = attribute("PX_ExitCode");
    if (v == nullptr || v->length != 2) return 0;
    int16_t code = 0;
    std::memcpy(&code, v->bytes.data(), 2);
    return code;
}

// --- attributes, console, user ------------------------------------------

int32_t HostInstance::getAttribute(const char* name, void** value, int32_t* length) {
    if (name == nullptr || value == nullptr || length == nullptr) return PXSTC_NullPointer;
    auto it = attributes_.find(name);
    return answers_.answer(name, it != attributes_.end() ? &it->second : nullptr, value, length);
}

int32_t HostInstance::setAttributeService(const char* name, const void* value, int32_t length) {
    if (name == nullptr || (value == nullptr && length != 0)) return PXSTC_NullPointer;
    if (length < 0) return PXSTC_InvalidArgument;
    // The exit code is a 16-bit number: any other width is the caller's mistake.
    if (std::strcmp(name, "PX_ExitCode") == 0 && length != 2) return PXSTC_InvalidArgument;
    setAttribute(name, value == nullptr ? "" : value, length);
    return PXSTC_Success;
}

int32_t HostInstance::consoleWrite(const char* text, int64_t length) {
    if (text == nullptr) return PXSTC_NullPointer;
    if (length < 0) return PXSTC_InvalidArgument;
    noteError(std::string(text, static_cast<size_t>(length)));
    ++errorLines_;
    writeLine(STDERR_FILENO,
              "buhost: instance " + std::to_string(options_.instance) + ": " + lastError_);
    return PXSTC_Success;
}

int32_t HostInstance::getUserId(char** userId) {
    if (userId == nullptr) return PXSTC_NullPointer;
    *userId = userId_.data();
    return PXSTC_Success;
}

// --- schema ----------------------------------------------------------------

int32_t HostInstance::getTableSchemaList(int64_t kind, SchemaHandle*** list, int32_t* count) {
    if (list == nullptr || count == nullptr) return PXSTC_NullPointer;
    if (kind != PX_SCHEMA_KIND_WRITE && kind != PX_SCHEMA_KIND_READ) return PXSTC_InvalidArgument;
    *list = schemaList_;
    *count = 1;
    return PXSTC_Success;
}

int32_t HostInstance::getColumnSchemaList(ColumnHandle*** list, int32_t* count) {
    if (list == nullptr || count == nullptr) return PXSTC_NullPointer;
    *list = columnList_.data();
    *count = static_cast<int32_t>(columnList_.size());
    return PXSTC_Success;
}

int32_t HostInstance::getColumnSchema(size_t column, char** name, int32_t* type, uint32_t* length,
                                      uint32_t* offset, int16_t* precision, int16_t* scale,
                                      uint8_t* ind, int32_t* metadataKind) {
    if (!name || !type || !length || !offset || !precision || !scale || !ind || !metadataKind)
        return PXSTC_NullPointer;
    const ColumnDefinition& c = job_.schema[column];
    // The offset is where the column's data starts in the largest row.
    uint32_t at = form_.indicatorBytes();
    for (size_t i = 0; i < column; ++i)
        at += prefixSize(job_.schema[i].type.family) + job_.schema[i].length;
    *name = const_cast<char*>(c.name.c_str());
    *type = c.type.code;
    *length = c.length;
    *offset = at + prefixSize(c.type.family);
    *precision = c.precision;
    *scale = c.scale;
    *ind = c.nullable ? 1 : 0;
    *metadataKind = 0;
    return PXSTC_Success;
}

int32_t HostInstance::getColumnFormats(size_t column, char* inputFormat, char* outputFormat) {
    if (inputFormat == nullptr || outputFormat == nullptr) return PXSTC_NullPointer;
    const ColumnDefinition& c = job_.schema[column];
    std::snprintf(inputFormat, PX_FORMAT_TEXT_SIZE, "%s", c.inputFormat.c_str());
    std::snprintf(outputFormat, PX_FORMAT_TEXT_SIZE, "%s", c.outputFormat.c_str());
    return PXSTC_Success;
}

// --- rows --------------------------------------------------------------

// Rows of this run count, so that a restarted run can be cut short too.
uint64_t HostInstance::rowsOfThisRun() const {
    return rowsDelivered_ - rowsAtStart_;
}

void HostInstance::crashIfDue() const {
    if (options_.crashAfterRows != 0 && rowsOfThisRun() >= options_.crashAfterRows)
        ::kill(::getpid(), SIGKILL);
}

bool HostInstance::nextRow() {
    if (endOfRows_) return false;
    crashIfDue();
    // The last row's bytes don't outlive it: an operator that kept a pointer
    // into it instead of copying sees the next row, or garbage where the
    // next row is shorter or there is none, never a plausible old row.
    if (rowsDelivered_ == job_.faults.row) form_.resetWidths(row_);
    const uint32_t previous = row_.length;
    if (!source_->next(row_)) {
        std::memset(row_.data.data(), 0xA5, previous);
        endOfRows_ = true;
        return false;
    }
    if (!job_.source.mappedRows) coverRestOf(previous);
    ++rowsDelivered_;
    rowBytesDelivered_ += row_.length;
    return true;
}

// Garbage over what is left of the last row behind this one. A block of
// fixed width behind every row covers it unless the last row was far
// longer: rows of one job differ in length at random, and a fill of the
// exact difference cost a mispredicted branch and a call on half of them.
void HostInstance::coverRestOf(uint32_t previousLength) {
    uint8_t* const tail = row_.data.data() + row_.length;
    std::memset(tail, 0xA5, kTailCover);
    if (previousLength > row_.length + kTailCover)
        std::memset(tail + kTailCover, 0xA5, previousLength - row_.length - kTailCover);
}

int32_t HostInstance::getRow(int32_t* columnCount, uint8_t** indicators, uint32_t** offsets,
                             uint32_t** lengths, void** rowData, uint32_t* rowLength) {
    if (!columnCount || !indicators || !offsets || !lengths || !rowData || !rowLength)
        return PXSTC_NullPointer;
    if (source_ == nullptr) return PXSTC_NotActive;
    try {
        if (!nextRow()) return PXSTC_EndOfData;
    } catch (const JobError& e) {
        hostError_ = e.what();
        return PXSTC_DataStreamError;
    }
    *columnCount = static_cast<int32_t>(form_.columnCount());
    if (rowsDelivered_ == job_.faults.row) applyRowFaults(*columnCount);
    *indicators = row_.indicators.data();
    *offsets = row_.offsets.data();
    *lengths = row_.lengths.data();
    *rowData = const_cast<uint8_t*>(row_.at);
    *rowLength = row_.length;
    return PXSTC_Success;
}

void HostInstance::applyRowFaults(int32_t& columnCount) {
    const FaultDefinition& f = job_.faults;
    columnCount += f.columnCountDelta;
    if (f.overlongColumn == 0) return;
    // A mapped row is spoiled in the row buffer, never in the file.
    if (row_.at != row_.data.data()) {
        std::memcpy(row_.data.data(), row_.at, row_.length);
        row_.at = row_.data.data();
    }
    form_.lengthenColumn(f.overlongColumn - 1, f.overlongBytes, row_);
}

uint64_t HostInstance::rowsUntilCheckpointBoundary() const {
    uint64_t limit = UINT64_MAX;
    if (job_.checkpointRows > 0) limit = job_.checkpointRows - rowsDelivered_ % job_.checkpointRows;
    if (options_.crashAfterRows > rowsOfThisRun())
        limit = std::min(limit, options_.crashAfterRows - rowsOfThisRun());
    return limit;
}

int32_t HostInstance::getBuffer(uint8_t* hasIndicators, void** buffer, uint32_t* usedLength) {
    if (hasIndicators == nullptr || buffer == nullptr || usedLength == nullptr)
        return PXSTC_NullPointer;
    if (source_ == nullptr || buffer_.empty()) return PXSTC_NotActive;
    // A buffer ends at a checkpoint or crash boundary, so that positions
    // stored with checkpoints fall between buffers.
    const uint64_t room = rowsUntilCheckpointBoundary();
    const uint32_t strip = job_.bufferIndicators ? 0 : form_.indicatorBytes();
    const uint32_t capacity = static_cast<uint32_t>(buffer_.size()) - job_.bufferTrailerSize;
    std::memset(buffer_.data(), 0xA5, buffer_.size());
    uint32_t used = 0;
    uint64_t rows = 0;
    try {
        while (rows < room) {
            if (!pendingRow_) {
                if (!nextRow()) break;
                pendingRow_ = true;
            }
            uint32_t len = row_.length - strip;
            if (used + PX_BUFFER_HEADER_SIZE + len > capacity) break;
            std::memcpy(buffer_.data() + used, &len, 4);
            std::memcpy(buffer_.data() + used + 4, row_.at + strip, len);
            used += PX_BUFFER_HEADER_SIZE + len;
            pendingRow_ = false;
            ++rows;
        }
    } catch (const JobError& e) {
        hostError_ = e.what();
        return PXSTC_DataStreamError;
    }
    if (rows == 0) {
        crashIfDue();
        return PXSTC_EndOfData;
    }
    std::memset(buffer_.data() + used, 0, job_.bufferTrailerSize);
    *hasIndicators = job_.bufferIndicators ? 1 : 0;
    *buffer = buffer_.data();
    *usedLength = used + job_.bufferTrailerSize;
    return PXSTC_Success;
}

// --- producer side: rows handed to the host are captured -------------------

// A row is taken only as the schema has it; one that disagrees is refused
// with what is wrong, and nothing of it is kept.
int32_t HostInstance::capturePut(const uint8_t* row, uint32_t length) {
    try {
        form_.adopt(row, length, putRow_);
    } catch (const JobError& e) {
        hostError_ = std::string("row put: ") + e.what();
        return PXSTC_LengthError;
    }
    if (putCapture_ == nullptr) {
        std::string path =
            job_.logDir + "/" + job_.name + "-" + std::to_string(options_.instance) + "-put.rows";
        putCapture_ = std::fopen(path.c_str(), "wb");
        if (putCapture_ == nullptr) throw JobError("cannot create " + path);
    }
    uint8_t head[4];
    std::memcpy(head, &length, 4);
    std::fwrite(head, 1, 4, putCapture_);
    std::fwrite(row, 1, length, putCapture_);
    ++putRows_;
    return PXSTC_Success;
}

// Columns given by their offsets and lengths, put into the row form: the
// indicator bits, and each column behind its prefix, a null fixed one as
// zero bytes of its width. A fixed column must have its full width.
bool HostInstance::composePut(const RowColumns& put, std::vector<uint8_t>& out) const {
    const std::vector<ColumnDefinition>& schema = job_.schema;
    out.assign(form_.indicatorBytes(), 0);
    for (size_t i = 0; i < schema.size(); ++i) {
        const bool null = put.indicators != nullptr && put.indicators[i] == 1;
        const uint32_t prefix = prefixSize(schema[i].type.family);
        const uint32_t length = null ? 0 : put.lengths[i];
        if (null) out[i / 8] |= static_cast<uint8_t>(0x80u >> (i % 8));
        if (prefix == 0) {
            if (null) {
                out.insert(out.end(), schema[i].length, 0);
                continue;
            }
            if (length != schema[i].length) return false;
        }
        for (uint32_t b = 0; b < prefix; ++b)
            out.push_back(static_cast<uint8_t>((uint64_t{length} >> (8 * b)) & 0xFF));
        if (put.offsets[i] > put.rowLength || length > put.rowLength - put.offsets[i]) return false;
        out.insert(out.end(), put.row + put.offsets[i], put.row + put.offsets[i] + length);
    }
    return true;
}

int32_t HostInstance::putRow(const RowColumns& put) {
    if (put.row == nullptr && put.rowLength > 0) return PXSTC_NullPointer;
    // No columns: the row is in the row form already.
    if (put.columnCount == 0) return capturePut(put.row, put.rowLength);
    if (put.columnCount != static_cast<int32_t>(form_.columnCount())) return PXSTC_InvalidArgument;
    if (put.offsets == nullptr || put.lengths == nullptr) return PXSTC_NullPointer;
    if (!composePut(put, composed_)) {
        hostError_ = "row put: a column lies outside the row or misses its width";
        return PXSTC_LengthError;
    }
    return capturePut(composed_.data(), static_cast<uint32_t>(composed_.size()));
}

int32_t HostInstance::putBuffer(int32_t one, const uint8_t* buffer, uint32_t length) {
    if (buffer == nullptr) return PXSTC_NullPointer;
    if (one != 1) return PXSTC_InvalidArgument;
    // Walk first, capture after: a malformed buffer is refused as a whole.
    uint32_t at = 0;
    while (at + PX_BUFFER_HEADER_SIZE <= length) {
        uint32_t len = 0;
        std::memcpy(&len, buffer + at, 4);
        if (len > length - at - PX_BUFFER_HEADER_SIZE) return PXSTC_LengthError;
        at += PX_BUFFER_HEADER_SIZE + len;
    }
    if (at != length) return PXSTC_LengthError;
    for (at = 0; at < length;) {
        uint32_t len = 0;
        std::memcpy(&len, buffer + at, 4);
        if (const int32_t rc = capturePut(buffer + at + PX_BUFFER_HEADER_SIZE, len)) return rc;
        at += PX_BUFFER_HEADER_SIZE + len;
    }
    return PXSTC_Success;
}

// --- checkpoints -------------------------------------------------------

int32_t HostInstance::readCheckpointRecord(void** record, int32_t* length) {
    if (record == nullptr || length == nullptr || !checkpoint_.hasRecord) return PXSTC_NullPointer;
    *record = checkpoint_.record.data();
    *length = static_cast<int32_t>(checkpoint_.record.size());
    return PXSTC_Success;
}

// The record is kept until the checkpoint is complete: a PX_Checkpoint that
// fails does not move the stored position.
int32_t HostInstance::writeCheckpointRecord(const void* record, int32_t length) {
    if (record == nullptr && length != 0) return PXSTC_NullPointer;
    if (length < 0) return PXSTC_InvalidArgument;
    const auto* p = static_cast<const uint8_t*>(record);
    checkpoint_.record.assign(p, p + length);
    checkpoint_.hasRecord = true;
    return PXSTC_Success;
}

bool HostInstance::commitCheckpoint() {
    checkpoint_.position = rowsDelivered_;
    if (!checkpoints_.save(checkpoint_)) {
        hostError_ = "cannot store checkpoint " + checkpoints_.path() + ": " + std::strerror(errno);
        return false;
    }
    ++checkpointsStored_;
    return true;
}

}  // namespace buhost
