#include "access_fixture.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "layer_hooks.h"
#include "record_io.h"

void AccessTest::SetUp() {
    rf::installLayerHooks();  // files are opened with the real record formats
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    char name[512];
    std::snprintf(name, sizeof name, "bu_access_%d_%s_%s", static_cast<int>(getpid()),
                  info->test_suite_name(), info->name());
    dir_ = std::filesystem::temp_directory_path() / name;
    std::filesystem::remove_all(dir_);
    std::filesystem::create_directories(dir_);
    bTakeAMcheckpoint = 1;
    EndianFlip = 0;
    FIFO_TimeOutSeconds = 0;
    bMultiInstanceRead = 0;
    bAcceptEOFasEOR = 0;
    Public_loghandle = publicLog_.handle();
    trceSetFp(trace_.handle());
}

void AccessTest::TearDown() {
    pmShutDown(2);
    trceSetFp(nullptr);
    Public_loghandle = nullptr;
    bTakeAMcheckpoint = 1;
    EndianFlip = 0;
    FIFO_TimeOutSeconds = 0;
    std::filesystem::remove_all(dir_);
}

void AccessTest::initLayer(int32_t level) {
    InitBlock init{level, "test", PM_INTERFACE_VERSION};
    ASSERT_EQ(pmInit(&init), 0u);
}

uint32_t AccessTest::attach(const std::string& name, const std::string& init, pmHandle* out) {
    char* initCopy = nullptr;
    if (!init.empty()) {
        initCopy = static_cast<char*>(std::malloc(init.size()));
        std::memcpy(initCopy, init.data(), init.size());
    }
    pmData names[2] = {{static_cast<uint32_t>(name.size()), const_cast<char*>(name.data())},
                       {static_cast<uint32_t>(init.size()), initCopy}};
    uint32_t rc = pmAttach(names, 1, out);
    if (rc != 0) std::free(initCopy);
    return rc;
}

pmHandle AccessTest::attached(const std::string& name, const std::string& init) {
    pmHandle h = 0;
    EXPECT_EQ(attach(name, init, &h), 0u) << errText();
    return h;
}

uint32_t AccessTest::open(pmHandle h, int16_t mode, uint32_t format, const std::string& name,
                          pmFp* fp, uint64_t blockSize) const {
    return pmOpen(mode, 0, format, nullptr, blockSize, 0, path(name).c_str(), h, nullptr, fp);
}

void AccessTest::writeFileOf(pmHandle h, uint32_t format, const std::string& name,
                             const std::vector<std::string>& records, int16_t mode,
                             uint64_t blockSize) const {
    pmFp out = 0;
    ASSERT_EQ(open(h, mode, format, name, &out, blockSize), 0u) << errText();
    for (const auto& r : records) ASSERT_EQ(writeRecord(out, r), 0u) << errText();
    ASSERT_EQ(pmClose(out), 0u) << errText();
}

uint32_t AccessTest::moduleCalls(pmHandle h, int code) {
    const std::string name = "CALLS_" + std::to_string(code);
    char value[PM_MAX_ATTR_VALUE];
    pmData out{0, value};
    EXPECT_EQ(
        pmAGetAttr(h, &out, {static_cast<uint32_t>(name.size()), const_cast<char*>(name.data())}),
        0u);
    return static_cast<uint32_t>(std::stoul(std::string(value, out.Length)));
}

std::string errText(uint32_t code) {
    pmData text{};
    EXPECT_EQ(pmGetErrText(code, &text), 0u);
    return std::string(static_cast<const char*>(text.Data), text.Length);
}

std::string testModulePath() {
    const char* stage = std::getenv("BU_STAGE_DIR");
    return std::string(stage ? stage : BU_STAGE_DIR) + "/lib64/axsmods/libtestaxsmod.so";
}
