// The file's settings where a job through buhost can't see them: the
// producer's side of the catalogue, delimiter settings the records of a job
// don't show yet, the "TAB" rule on the bytes, the attributes an Access
// Module is told, and the size of the I/O block.
#include <cstring>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "charsets.h"
#include "checkpoint_restart.h"
#include "file_access.h"
#include "file_catalogue.h"
#include "layer_fixture.h"
#include "record_error_settings.h"

namespace {

using bu::test::LayerTest;

class FileSettings : public LayerTest {
  protected:
    void SetUp() override {
        LayerTest::SetUp();
        openLogs();
        ThisInstance = 1;
        TotalInstances = 1;
        host.columns = {{"code", 7, 5}};
        host.setText("FileName", "data.txt");
        host.setText("Format", "DELIMITED");
        host.setText("TextDelimiter", ";");
    }
};

TEST_F(FileSettings, CatalogueOnEitherSide) {
    constexpr int32_t P = PX_OPERATOR_TYPE_PRODUCER;
    constexpr int32_t C = PX_OPERATOR_TYPE_CONSUMER;
    using Attributes = std::vector<std::pair<std::string, std::string>>;
    Attributes given;
    // A start of one side with these attributes over the fixture's.
    auto start = [&](const char* name, int32_t side, const Attributes& attributes, int32_t result,
                     const std::vector<int32_t>& messages, int16_t exitCode = 0) {
        for (const auto& [key, value] : given) host.remove(key);
        host.publicMessages.clear();
        SetUp();
        given = attributes;
        OperatorType = side;
        for (const auto& [key, value] : attributes) host.setText(key, value);
        RecordInstanceTarget = 7;  // as a restart of an earlier job left it
        EXPECT_EQ(DC_DataConFileInfo(host.handle()), result) << name;
        EXPECT_EQ(RecordInstanceTarget, result == 0 ? 0 : 7) << name;
        EXPECT_EQ(host.numbers(), messages) << name;
        EXPECT_EQ(CurrentExitCode, exitCode) << name;
    };
    start("producer defaults", P, {}, 0, {19203});
    EXPECT_EQ(std::tuple(DC_OpenMode, Reading, bAcceptEOFasEOR, BufferSize),
              std::tuple(pmOpenRead, 1, 1, 1048586ull));
    start("producer writing", P, {{"OpenMode", "Write"}}, PXSTC_FatalError, {19205});
    start("producer appending delimiters", P, {{"AppendDelimiter", "Y"}}, PXSTC_NotSupported,
          {19203, 19246}, 8);
    start("producer asking for a mark", P, {{"OpenMode", "read"}, {"WriteBOM", "Y"}},
          PXSTC_FatalError, {19246, 19249}, 12);
    EXPECT_EQ(bWriteBOM, 0);
    // Trimming: the sides it applies to, and the character.
    start("trim leading blanks", P, {{"OpenMode", "Read"}, {"TrimColumns", "leading"}}, 0, {19203});
    EXPECT_EQ(std::tuple(bTrimLeadingBlanks, cTrimLeadingChar, bUsingSingleTrimLeadingChar,
                         TrimTrailingChar.Length, bTrimTrailingBlanks),
              std::tuple(1, ' ', 0, 0, 0));
    start("trim trailing x", P,
          {{"OpenMode", "Read"}, {"TrimColumns", "Trailing"}, {"TrimChar", "x"}}, 0, {});
    EXPECT_EQ(std::tuple(TrimTrailingChar.Length, cTrimTrailingChar, bTrimTrailingBlanks,
                         bUsingSingleTrimTrailingChar, TrimLeadingChar.Length, bTrimLeadingBlanks),
              std::tuple(1, 'x', 1, 1, 0, 0));
    start("trim both", P, {{"OpenMode", "Read"}, {"TrimColumns", "BOTH"}, {"TrimCharHEX", "2D"}}, 0,
          {});
    EXPECT_EQ(
        std::tuple(cTrimLeadingChar, cTrimTrailingChar, bTrimLeadingBlanks, bTrimTrailingBlanks,
                   bUsingSingleTrimLeadingChar, bUsingSingleTrimTrailingChar),
        std::tuple('-', '-', 1, 1, 1, 1));
    start("trim char of two bytes", P,
          {{"OpenMode", "Read"}, {"TrimColumns", "Both"}, {"TrimChar", "ab"}}, PXSTC_FatalError,
          {19248});
    start("trim sideways", P, {{"OpenMode", "Read"}, {"TrimColumns", "Sideways"}}, PXSTC_FatalError,
          {19205});
    // "optional" counts as quoted: the default marks come into force, and an
    // escape equal to the close mark is dropped with its flag kept.
    start("optional quotes", C,
          {{"OpenMode", "Write"}, {"QuotedData", "optional"}, {"EscapeQuoteDelimiter", "\""}}, 0,
          {19203, 19203});
    EXPECT_EQ(std::tuple(bQuotedData, std::string(CloseQuoteMark.Bytes),
                         EscapeQuoteCharacter.Length, bUsingQuoteEscCharacter),
              std::tuple(2, std::string("\""), 0, 1));
    EXPECT_EQ(bAcceptEOFasEOR, 0);  // a consumer doesn't read it
    // Without a record error file the verbosity is kept all the same, and
    // the header it asks for fails to be written without harm.
    start("record error verbosity without a file", C,
          {{"OpenMode", "Write"}, {"RecordErrorVerbosity", "med"}}, 0, {});
    EXPECT_EQ(std::tuple(RowErrorVerbosity, SG_ErrorRowLimit, SG_ContinueOnRowError),
              std::tuple(2, -1, 0));
    start("general parsing case", C, {{"OpenMode", "Write"}, {"UseGeneralUDDIcase", "yes"}}, 0, {});
    EXPECT_EQ(UDDI_ParsingCase, 2222222);
}

// Every instance of a restarted job appends from its checkpoint, and each
// says so.
TEST_F(FileSettings, RestartedWriterAppendsInEveryInstance) {
    OperatorType = PX_OPERATOR_TYPE_CONSUMER;
    ThisInstance = TotalInstances = 2;
    DC_RestartMode = 1;
    host.setText("OpenMode", "Write");
    host.hasStoredRecord = true;
    host.storedRecord = {1};
    EXPECT_EQ(DC_DataConFileInfo(host.handle()), 0);
    EXPECT_EQ(DC_OpenMode, pmOpenUpdate);
    EXPECT_EQ(host.numbers(), std::vector<int32_t>{19206});
}

TEST_F(FileSettings, TabRuleReplacesEachTabButOneRightBehindAnother) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"TAB", "\t"}, {"TABxTAB", "\tx\t"}, {"TABTAB", "\tTAB"},      {"xTABy", "x\ty"},
        {"TA", "TA"},  {"tab", "tab"},       {"TABTABTAB", "\tTAB\t"},
    };
    for (const auto& [given, expected] : cases) {
        TextAttr attr{"TextDelimiter", static_cast<int32_t>(given.size()), {}};
        std::memcpy(attr.Bytes, given.data(), given.size());
        bu::dc::applyTabRule(attr);
        EXPECT_EQ(std::string(attr.Bytes, static_cast<size_t>(attr.Length)), expected) << given;
        EXPECT_EQ(attr.Bytes[attr.Length], '\0') << given;
    }
    // In a UTF16 job the three letters in UTF16 become the 16-bit tab.
    std::strcpy(SG_CharSetName, "UTF16");
    const char utf16[] = {'T', 0, 'A', 0, 'B', 0, '|', 0};
    TextAttr attr{"TextDelimiter", sizeof utf16, {}};
    std::memcpy(attr.Bytes, utf16, sizeof utf16);
    bu::dc::applyTabRule(attr);
    EXPECT_EQ(std::string(attr.Bytes, static_cast<size_t>(attr.Length)), std::string("\t\0|\0", 4));
}

TEST_F(FileSettings, AnAccessModuleIsToldItsCallerAndTheRecords) {
    OperatorType = PX_OPERATOR_TYPE_CONSUMER;
    ThisInstance = 2;
    TotalInstances = 3;
    std::strcpy(SG_CharSetName, "UTF8");
    host.setText("AccessModuleName", BU_STAGE_DIR "/lib64/axsmods/libtestaxsmod.so");
    host.setText("OpenMode", "Write");
    ASSERT_EQ(DC_DataConInit(host.handle()), 0);
    ASSERT_EQ(DC_DataConAttach(host.handle()), 0);
    ASSERT_EQ(DC_DataConFileInfo(host.handle()), 0);
    auto told = [](const char* name) {
        static char value[PM_MAX_ATTR_VALUE];
        pmData out{0, value};
        pmData key{static_cast<uint32_t>(std::strlen(name)), const_cast<char*>(name)};
        EXPECT_EQ(pmAGetAttr(DC_pmHandle, &out, key), 0u) << name;
        return std::string(value, out.Length);
    };
    OperatorHandle* handle = host.handle();
    EXPECT_EQ(told("VKM_OP_HANDLE"), std::string(reinterpret_cast<char*>(&handle), 8));
    const int32_t instances[2] = {2, 3};
    EXPECT_EQ(told("INSTANCE_NUMBERS"), std::string(reinterpret_cast<const char*>(instances), 8));
    EXPECT_EQ(told("CHARSET_NAME"), "UTF8");
    EXPECT_EQ(told("PRESERVE_RESTART_INFO"), "YES");
    EXPECT_EQ(told("RECORD_TYPE"), "DELIMITED");
    EXPECT_EQ(told("DELIMITER_VALUE"), ";");
}

// The I/O block holds the longest record; a producer's grows by whole
// blocks, and one reading with other instances has a block of its own size.
TEST_F(FileSettings, IoBlockHoldsAWholeRecord) {
    constexpr int32_t P = PX_OPERATOR_TYPE_PRODUCER;
    constexpr int32_t C = PX_OPERATOR_TYPE_CONSUMER;
    const std::tuple<int32_t, uint64_t, int32_t, uint64_t> cases[] = {{C, 1048586, 0, 1048586},
                                                                      {C, 1048587, 0, 1048587},
                                                                      {P, 1048586, 0, 1048586},
                                                                      {P, 1048587, 0, 2097173},
                                                                      {P, 10, 1, 1048575}};
    for (const auto& [side, fixedLength, multiReader, expected] : cases) {
        OperatorType = side;
        TotalFixedLength = fixedLength;
        bAllowMultiInstanceRead = multiReader;
        BufferSize = bu::dc::kBufferSizeUnset;
        bu::dc::sizeIoBuffer();
        EXPECT_EQ(BufferSize, expected) << side << " " << fixedLength;
    }
    bAllowMultiInstanceRead = 0;
}

}  // namespace
