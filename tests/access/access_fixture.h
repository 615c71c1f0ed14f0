// access_fixture.h - a fresh access layer per test, its trace captured, and
// a scratch directory for files.
#ifndef BU_TESTS_ACCESS_FIXTURE_H
#define BU_TESTS_ACCESS_FIXTURE_H

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "log_capture.h"
#include "pm_layer.h"
#include "test_files.h"

class AccessTest : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    // pmInit at the given level with the trace captured.
    void initLayer(int32_t level = 2);
    // Attaches a module by name (empty: the default module); the init string
    // is handed over as a heap copy, as the layer expects.
    uint32_t attach(const std::string& name, const std::string& init, pmHandle* out);
    // The same, expected to succeed.
    pmHandle attached(const std::string& name = "", const std::string& init = "");
    // pmOpen of a file in the scratch directory.
    uint32_t open(pmHandle h, int16_t mode, uint32_t format, const std::string& name, pmFp* fp,
                  uint64_t blockSize = 0) const;
    // Writes the records to the file, made anew or appended to, and closes it.
    void writeFileOf(pmHandle h, uint32_t format, const std::string& name,
                     const std::vector<std::string>& records, int16_t mode = pmOpenWrite,
                     uint64_t blockSize = 0) const;
    // How often the test module was called with a function code.
    static uint32_t moduleCalls(pmHandle h, int code);
    std::string path(const std::string& name) const { return (dir_ / name).string(); }
    void writeFile(const std::string& name, const std::string& bytes) const {
        testsupport::writeFile(path(name), bytes);
    }
    std::string readFile(const std::string& name) const {
        return testsupport::readFile(path(name));
    }

    LogCapture trace_;
    LogCapture publicLog_;
    std::filesystem::path dir_;
};

// The text the layer gives for a code; 34's is the last failure's own.
std::string errText(uint32_t code = 34);

// The staged test Access Module.
std::string testModulePath();

#endif  // BU_TESTS_ACCESS_FIXTURE_H
