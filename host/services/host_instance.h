// One operator instance as the host sees it: the handles it passes to the
// operator, the attributes, the schema, the row stream, the logs and the
// checkpoint of this instance. One per instance process.
#pragma once

#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "catalog/message_catalog.h"
#include "job/job_definition.h"
#include "px_boundary.h"
#include "rows/row_form.h"
#include "rows/row_source.h"
#include "services/hostile_answers.h"
#include "shared/checkpoint_store.h"
#include "shared/global_variables.h"

namespace buhost {

struct InstanceOptions {
    int instance = 1;  // from 1
    int instanceCount = 1;
    bool restart = false;
    uint64_t crashAfterRows = 0;  // 0: never
    std::string traceLevel;       // non-empty: overrides "TraceLevel"
};

// An open log: a file and the handle the operator writes through.
struct OpenLog {
    LogHandle handle{};
    int fd = -1;
    bool isPublic = false;
    std::string path;
};

class HostInstance {
  public:
    HostInstance(const JobDefinition& job, const InstanceOptions& options,
                 GlobalVariables& globals);
    ~HostInstance();
    HostInstance(const HostInstance&) = delete;
    HostInstance& operator=(const HostInstance&) = delete;

    OperatorHandle* operatorHandle() { return &operator_; }

    // Opens the row stream; when resuming skips the rows before the stored
    // checkpoint's position. Throws JobError.
    void openRows();
    // For an instance whose process ends with it: what its rows source holds
    // of the process's memory is left to the end of the process.
    void endsWithProcess() { endsWithProcess_ = true; }
    // Whether this run resumes from a stored checkpoint ("SYSTEM_RestartMode" 1).
    bool resuming() const { return resuming_; }

    // The host's own attribute writes (EventFunction) and reads (EventData).
    void setAttribute(const std::string& name, const void* value, int32_t length);
    const AttributeValue* attribute(const std::string& name) const;
    int exitCodeSetByOperator() const;

    uint64_t rowsDelivered() const { return rowsDelivered_; }
    // Bytes of the rows delivered since the source opened, indicators included.
    uint64_t rowBytesDelivered() const { return rowBytesDelivered_; }
    // Whether a restart found a checkpoint record of the operator's.
    bool hasCheckpointRecord() const { return checkpoint_.hasRecord; }
    // Stores the stream position with the newest record, after PX_Checkpoint
    // succeeded. False (and hostError set) when the file cannot be written.
    bool commitCheckpoint();
    uint64_t checkpointsStored() const { return checkpointsStored_; }
    // Set when a service could not do its work for a reason of the host's
    // (a bad row in the source, a full disk): the job fails with this line.
    const std::string& hostError() const { return hostError_; }
    const RowForm& rowForm() const { return form_; }
    // The operator's latest error: a public message of error severity (with
    // the loader's text for an OUTMOD that would not load) or a console
    // line; empty when there was none. The count tells a new one from an old.
    const std::string& lastError() const { return lastError_; }
    uint64_t errorsNoted() const { return errorsNoted_; }
    // Error lines the operator wrote anywhere: those above, and trace lines
    // at error level in a private log.
    uint64_t errorLines() const { return errorLines_; }
    size_t putRowCount() const { return putRows_; }

    // Services, called through the handles; each validates its arguments.
    int32_t getAttribute(const char* name, void** value, int32_t* length);
    int32_t setAttributeService(const char* name, const void* value, int32_t length);
    int32_t consoleWrite(const char* text, int64_t length);
    int32_t getTableSchemaList(int64_t kind, SchemaHandle*** list, int32_t* count);
    int32_t logInit(const char* owner, int32_t instance, const char* logName, int32_t reserved,
                    LogHandle** out);
    int32_t getUserId(char** userId);
    int32_t readCheckpointRecord(void** record, int32_t* length);
    int32_t writeCheckpointRecord(const void* record, int32_t length);
    GlobalVariables& globals() { return globals_; }

    // How attribute reads are answered; the job's [faults] have set it up.
    AttributeAnswers& attributeAnswers() { return answers_; }

    int32_t getRow(int32_t* columnCount, uint8_t** indicators, uint32_t** offsets,
                   uint32_t** lengths, void** rowData, uint32_t* rowLength);
    int32_t getBuffer(uint8_t* hasIndicators, void** buffer, uint32_t* usedLength);
    // A row a producer puts: with a column count, its columns are where the
    // offsets and lengths say; with none, the row is in the row form.
    struct RowColumns {
        int32_t columnCount = 0;
        const uint8_t* indicators = nullptr;
        const uint32_t* offsets = nullptr;
        const uint32_t* lengths = nullptr;
        const uint8_t* row = nullptr;
        uint32_t rowLength = 0;
    };
    int32_t putRow(const RowColumns& put);
    int32_t putBuffer(int32_t one, const uint8_t* buffer, uint32_t length);
    int32_t getColumnSchemaList(ColumnHandle*** list, int32_t* count);
    int32_t getColumnSchema(size_t column, char** name, int32_t* type, uint32_t* length,
                            uint32_t* offset, int16_t* precision, int16_t* scale, uint8_t* ind,
                            int32_t* metadataKind);
    int32_t getColumnFormats(size_t column, char* inputFormat, char* outputFormat);

    int32_t logWrite(OpenLog& log, int32_t number, int32_t severity, va_list args);
    // A line of the host's own in the public log ("[k] I buhost: text"), if
    // the operator has opened it.
    void noteInPublicLog(const std::string& text);
    int32_t logClose(OpenLog& log);

  private:
    void addSystemAttributes();
    void prepareRowFaults();
    void loadCheckpoint();
    void applyRowFaults(int32_t& columnCount);
    bool nextRow();  // the next row into row_, honouring --crash-after-rows
    void coverRestOf(uint32_t previousLength);
    uint64_t rowsOfThisRun() const;
    void crashIfDue() const;
    uint64_t rowsUntilCheckpointBoundary() const;
    uint32_t bufferCapacity() const;
    void writeLine(int fd, const std::string& line);
    int32_t capturePut(const uint8_t* row, uint32_t length);
    bool composePut(const RowColumns& put, std::vector<uint8_t>& out) const;
    void noteError(std::string text) {
        lastError_ = std::move(text);
        ++errorsNoted_;
    }
    std::string withLoaderText(int32_t number, std::vector<LogArg> args,
                               const std::string& rendered) const;

    const JobDefinition& job_;
    InstanceOptions options_;
    GlobalVariables& globals_;
    CheckpointStore checkpoints_;
    std::map<std::string, AttributeValue> attributes_;
    AttributeAnswers answers_;

    OperatorHandle operator_{};
    SchemaHandle schema_{};
    SchemaHandle* schemaList_[1] = {&schema_};
    std::vector<ColumnHandle> columns_;
    std::vector<ColumnHandle*> columnList_;
    std::vector<std::unique_ptr<OpenLog>> logs_;  // closed ones stay, unregistered

    RowForm form_;
    // The row buffer has this much room behind the largest row, for the
    // garbage written behind each row.
    static constexpr uint32_t kTailCover = 64;
    RowBuffer row_;
    std::unique_ptr<RowSource> source_;
    bool pendingRow_ = false;  // row_ holds a row that did not fit the last buffer
    bool endOfRows_ = false;
    bool endsWithProcess_ = false;
    std::vector<uint8_t> buffer_;
    uint64_t rowsDelivered_ = 0;
    uint64_t rowBytesDelivered_ = 0;
    uint64_t rowsAtStart_ = 0;  // the stored position a restart resumed at
    uint64_t checkpointsStored_ = 0;
    StoredCheckpoint checkpoint_;  // newest record; position set at commit
    bool resuming_ = false;
    std::string userId_;
    std::string hostError_;
    std::string lastError_;
    uint64_t errorsNoted_ = 0;
    uint64_t errorLines_ = 0;
    size_t putRows_ = 0;
    std::FILE* putCapture_ = nullptr;
    RowBuffer putRow_;               // a put row as the schema reads it
    std::vector<uint8_t> composed_;  // a put row given by its columns, in the row form
};

}  // namespace buhost
