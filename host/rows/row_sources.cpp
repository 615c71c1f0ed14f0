// Rows the host reads: from an SQLite query, each value converted to its
// column's type, or from a rows file, taken as they stand.
#include <fcntl.h>
#include <sqlite3.h>
#include <strings.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "rows/generated_rows.h"
#include "rows/row_source.h"

namespace buhost {
namespace {

// The database and the prepared query; each closes even when the
// constructor throws half way.
class SqliteStatement {
  public:
    explicit SqliteStatement(const JobDefinition& job) {
        sqlite3* db = nullptr;
        int rc = sqlite3_open_v2(job.source.database.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
        db_.reset(db);
        if (rc != SQLITE_OK)
            throw JobError("cannot open database " + job.source.database + ": " + error());
        sqlite3_stmt* stmt = nullptr;
        rc = sqlite3_prepare_v2(db, job.source.query.c_str(), -1, &stmt, nullptr);
        stmt_.reset(stmt);
        if (rc != SQLITE_OK)
            throw JobError("bad query for " + job.source.database + ": " + error());
        checkColumns(job);
    }

    sqlite3_stmt* get() const { return stmt_.get(); }
    std::string error() const { return db_ ? sqlite3_errmsg(db_.get()) : "out of memory"; }

  private:
    void checkColumns(const JobDefinition& job) {
        int n = sqlite3_column_count(get());
        if (static_cast<size_t>(n) != job.schema.size())
            throw JobError("the query returns " + std::to_string(n) + " columns, the schema has " +
                           std::to_string(job.schema.size()));
        for (int i = 0; i < n; ++i) {
            const char* name = sqlite3_column_name(get(), i);
            const std::string& want = job.schema[static_cast<size_t>(i)].name;
            if (name == nullptr || strcasecmp(name, want.c_str()) != 0)
                throw JobError("query column " + std::to_string(i + 1) + " is '" +
                               (name ? name : "?") + "', the schema says '" + want + "'");
        }
    }

    struct CloseDb {
        void operator()(sqlite3* db) const { sqlite3_close(db); }
    };
    struct Finalize {
        void operator()(sqlite3_stmt* s) const { sqlite3_finalize(s); }
    };
    std::unique_ptr<sqlite3, CloseDb> db_;
    std::unique_ptr<sqlite3_stmt, Finalize> stmt_;
};

// Deals a stream's rows to the instances in turn: this instance takes
// its first row after `index` of the others', then one in every `count`,
// without a division per row.
class RowDeal {
  public:
    RowDeal(int index, int count)
        : othersAhead_(static_cast<uint64_t>(index)), others_(static_cast<uint64_t>(count) - 1) {}

    // Whether the stream's next row is this instance's.
    bool takesNext() {
        if (othersAhead_ > 0) {
            --othersAhead_;
            return false;
        }
        othersAhead_ = others_;
        return true;
    }

  private:
    uint64_t othersAhead_;  // rows of the other instances before this one's next
    uint64_t others_;
};

class SqliteRows : public RowSource {
  public:
    SqliteRows(const JobDefinition& job, const RowForm& form, int instanceIndex, int instanceCount)
        : stmt_(job),
          form_(form),
          deal_(instanceIndex, instanceCount),
          values_(job.schema.size()) {}

    bool next(RowBuffer& row) override {
        for (;;) {
            int rc = sqlite3_step(stmt_.get());
            if (rc == SQLITE_DONE) return false;
            if (rc != SQLITE_ROW) throw JobError("query failed: " + stmt_.error());
            if (!deal_.takesNext()) continue;
            for (size_t i = 0; i < values_.size(); ++i) values_[i] = cell(static_cast<int>(i));
            form_.build(values_.data(), row);
            return true;
        }
    }

  private:
    CellValue cell(int i) const {
        sqlite3_stmt* s = stmt_.get();
        switch (sqlite3_column_type(s, i)) {
            case SQLITE_NULL:
                return CellValue::null();
            case SQLITE_INTEGER:
                return CellValue::ofInt(sqlite3_column_int64(s, i));
            case SQLITE_FLOAT:
                return CellValue::ofReal(sqlite3_column_double(s, i));
            case SQLITE_BLOB: {
                const void* p = sqlite3_column_blob(s, i);
                int n = sqlite3_column_bytes(s, i);
                return CellValue::ofText(
                    std::string_view(static_cast<const char*>(p ? p : ""), static_cast<size_t>(n)));
            }
            default: {
                const unsigned char* p = sqlite3_column_text(s, i);
                int n = sqlite3_column_bytes(s, i);
                return CellValue::ofText(std::string_view(
                    reinterpret_cast<const char*>(p ? p
                                                    : reinterpret_cast<const unsigned char*>("")),
                    static_cast<size_t>(n)));
            }
        }
    }

    SqliteStatement stmt_;
    const RowForm& form_;
    RowDeal deal_;
    std::vector<CellValue> values_;
};

// A file of rows, each behind a 4-byte little-endian length, taken as they
// stand. The file is mapped, so a row costs its copy into the row buffer, or
// with mapped rows nothing, and no read call.
class RowsFile : public RowSource {
  public:
    RowsFile(const JobDefinition& job, const RowForm& form, int instanceIndex, int instanceCount)
        : form_(form),
          path_(job.source.rowsFile),
          deal_(instanceIndex, instanceCount),
          mapped_(job.source.mappedRows) {
        const int fd = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) throw JobError("cannot open rows file " + path_ + ": " + std::strerror(errno));
        struct stat st {};
        const bool regular = ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
        size_ = regular ? static_cast<size_t>(st.st_size) : 0;
        // Writable but private: an operator that writes into a mapped row it
        // was handed changes a copy of the page, not the file, and doesn't fault.
        const int protection = mapped_ ? PROT_READ | PROT_WRITE : PROT_READ;
        void* map = size_ > 0 ? ::mmap(nullptr, size_, protection, MAP_PRIVATE, fd, 0) : nullptr;
        ::close(fd);
        if (!regular) throw JobError("rows file " + path_ + " is not a regular file");
        if (map == MAP_FAILED)
            throw JobError("cannot map rows file " + path_ + ": " + std::strerror(errno));
        if (map != nullptr) ::madvise(map, size_, MADV_SEQUENTIAL);
        map_ = static_cast<const uint8_t*>(map);
    }
    ~RowsFile() override {
        if (map_ != nullptr) ::munmap(const_cast<uint8_t*>(map_), size_);
    }
    RowsFile(const RowsFile&) = delete;
    RowsFile& operator=(const RowsFile&) = delete;

    bool next(RowBuffer& row) override {
        for (;;) {
            const size_t left = size_ - at_;
            if (left == 0) return false;
            if (left < 4)
                throw JobError(path_ + ": truncated length at row " +
                               std::to_string(position_ + 1));
            const uint8_t* head = map_ + at_;
            const uint32_t len =
                head[0] | head[1] << 8 | head[2] << 16 | static_cast<uint32_t>(head[3]) << 24;
            if (len > form_.maxRowLength())
                throw JobError(path_ + ": row " + std::to_string(position_ + 1) + " of " +
                               std::to_string(len) + " bytes exceeds the schema's largest row");
            if (len > left - 4)
                throw JobError(path_ + ": truncated row " + std::to_string(position_ + 1));
            at_ += 4 + len;
            ++position_;
            if (!deal_.takesNext()) continue;
            try {
                if (mapped_)
                    form_.measure(head + 4, len, row);
                else
                    form_.adopt(head + 4, len, row);
            } catch (const JobError& e) {
                throw JobError(path_ + ": row " + std::to_string(position_) + ": " + e.what());
            }
            return true;
        }
    }

    // The end of a process takes down its whole address space at once, which
    // costs about 2 ms less than unmapping the reference table's 69 MB
    // first; the mapping stays valid to that end.
    void leaveToProcessEnd() override { map_ = nullptr; }

  private:
    const RowForm& form_;
    std::string path_;
    RowDeal deal_;
    uint64_t position_ = 0;  // rows of the file passed, every instance's
    bool mapped_;
    const uint8_t* map_ = nullptr;
    size_t size_ = 0;
    size_t at_ = 0;
};

}  // namespace

std::unique_ptr<RowSource> openRowSource(const JobDefinition& job, const RowForm& form,
                                         int instanceIndex, int instanceCount) {
    switch (job.source.kind) {
        case SourceKind::Generate:
            return std::make_unique<GeneratedRows>(job, form, instanceIndex, instanceCount);
        case SourceKind::Sqlite:
            return std::make_unique<SqliteRows>(job, form, instanceIndex, instanceCount);
        case SourceKind::RowsFile:
            return std::make_unique<RowsFile>(job, form, instanceIndex, instanceCount);
    }
    return nullptr;
}

void checkRowSource(const JobDefinition& job) {
    if (job.source.kind == SourceKind::Sqlite) SqliteStatement probe(job);
}

}  // namespace buhost
