// A small in-process stand-in for the host: handles laid out as the boundary
// says, attributes from a map, logs that keep every message with its decoded
// arguments, and a schema with a queue of rows. One FakeHost is current at a
// time; the service functions find it through that.
#ifndef BU_TESTS_FAKE_HOST_H
#define BU_TESTS_FAKE_HOST_H

#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "px_boundary.h"

namespace bu::test {

using MsgArg = std::variant<int32_t, int64_t, std::string, std::nullptr_t>;

struct LoggedMessage {
    int32_t number;
    int32_t msgClass;
    int32_t severity;
    std::vector<MsgArg> args;  // the leader first, as written

    std::string text(size_t i) const;
    int32_t integer(size_t i) const;
};

struct FakeColumn {
    std::string name;
    int32_t type;
    uint32_t length;
    int16_t precision = 0;
    int16_t scale = 0;
    int32_t metadataKind = 0;
    std::string inputFormat = "";
    std::string outputFormat = "";
};

// One buffer for PX_GetBuffer: its bytes, and whether its rows carry
// indicator bytes.
struct FakeBuffer {
    std::vector<uint8_t> bytes;
    uint8_t hasIndicators = 1;
};

struct FakeRow {
    int32_t columnCount;
    std::vector<uint8_t> indicators;
    std::vector<uint32_t> offsets;
    std::vector<uint32_t> lengths;
    std::vector<uint8_t> data;
};

class FakeHost {
  public:
    FakeHost();
    ~FakeHost();
    FakeHost(const FakeHost&) = delete;
    FakeHost& operator=(const FakeHost&) = delete;

    OperatorHandle* handle() { return &op_; }

    // Attributes. System attributes of a single consumer instance are set
    // from the start; tests change or remove them.
    void setText(const std::string& name, const std::string& value);
    void setInt(const std::string& name, int32_t value);
    void remove(const std::string& name) { attributes_.erase(name); }
    void setMultiValued(const std::string& name) { multiValued_.insert(name); }
    void failAttribute(const std::string& name, int32_t status) { failing_[name] = status; }
    // Answers status 0 with exactly this pointer and length, as a careless
    // or hostile host might.
    void forgeAttribute(const std::string& name, void* value, int32_t length) {
        forged_[name] = {value, length};
    }

    // Logs.
    std::vector<LoggedMessage> publicMessages;
    std::vector<std::string> traceLines;  // head and line joined
    std::vector<std::string> console;
    int32_t publicLogInitStatus = 0;
    int32_t privateWriteStatus = 0;
    std::string privateLogName;
    int logsClosed = 0;

    bool hasMessage(int32_t number) const { return message(number) != nullptr; }
    const LoggedMessage* message(int32_t number) const;
    // The first message of this number's arguments behind the leader, blank
    // separated, texts in single quotes: "2 'name' 10".
    std::string arguments(int32_t number) const;
    // The numbers of the public log's messages, in order, but 19015: the
    // exit code it tells is checked as such.
    std::vector<int32_t> numbers() const;
    bool traced(const std::string& fragment) const;

    // What the operator told the host.
    std::vector<int16_t> exitCodes;
    std::vector<uint8_t> eventData;

    // Schema and rows.
    std::vector<FakeColumn> columns;
    int32_t schemaCount = 1;
    int32_t schemaListStatus = 0;
    int32_t getRowStatus = 0;  // non-zero: every PX_GetRow fails with it
    std::deque<FakeRow> rows;

    // A row in the host's row form for the current columns: indicator bytes,
    // then each column in order (variable ones behind a 2-byte length).
    FakeRow makeRow(const std::vector<std::string>& values,
                    const std::vector<bool>& nulls = {}) const;
    void addRow(const std::vector<std::string>& values, const std::vector<bool>& nulls = {});

    // Buffers, handed out one per PX_GetBuffer; the end of the queue is the
    // end of the stream.
    std::deque<FakeBuffer> buffers;

    // What a producer handed back: rows with the column count given, and
    // whole buffers; a non-zero putStatus fails both services.
    struct PutRow {
        int32_t columnCount;
        std::vector<uint8_t> bytes;
    };
    std::vector<PutRow> putRows;
    std::vector<std::vector<uint8_t>> putBuffers;
    int32_t putStatus = 0;

    // Checkpoint records: what PX_WriteCheckpointRecord stored last, and
    // what PX_ReadCheckpointRecord hands out (21 while there is none).
    std::vector<uint8_t> writtenRecord;
    bool hasStoredRecord = false;
    std::vector<uint8_t> storedRecord;

    // Variables shared by instances: elements by name, indices from 1.
    std::map<std::string, std::vector<std::vector<uint8_t>>> sharedVariables;

    static FakeHost* current;

    // Services (public so the C records can point at them).
    std::map<std::string, std::vector<char>> attributes_;
    std::set<std::string> multiValued_;
    std::map<std::string, int32_t> failing_;
    std::map<std::string, std::pair<void*, int32_t>> forged_;
    OperatorHandle op_{};
    SchemaHandle schema_{};
    SchemaHandle* schemaList_[2]{};
    LogServices logServices_{};
    LogHandle publicLog_{};
    LogHandle privateLog_{};
    std::vector<ColumnHandle> columnHandles_;
    std::vector<ColumnHandle*> columnList_;
    FakeRow currentRow_;
    FakeBuffer currentBuffer_;
};

}  // namespace bu::test

#endif  // BU_TESTS_FAKE_HOST_H
