// A test fixture with a fresh FakeHost, the layer's globals back at their
// values at load, and the record formats installed in the layers below them
// as libbuoutop.so has them from its load.
#ifndef BU_TESTS_LAYER_FIXTURE_H
#define BU_TESTS_LAYER_FIXTURE_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "fake_host.h"
#include "file_access.h"
#include "layer_hooks.h"
#include "layer_reset.h"

namespace bu::test {

// A file of its own for one test, with these bytes, removed after it.
class TempFile {
  public:
    explicit TempFile(const std::string& bytes = "") {
        ::close(::mkstemp(path_));
        std::ofstream(path_, std::ios::binary) << bytes;
    }
    ~TempFile() { std::remove(path_); }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;
    const char* path() const { return path_; }
    std::string bytes() const {
        std::ifstream in(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

  private:
    char path_[32] = "/tmp/bu_dc_test_XXXXXX";
};

class LayerTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ::rf::installLayerHooks();
        resetLayer();
        SG_opHandle = host.handle();
    }
    void TearDown() override { resetLayer(); }

    // Opens both logs as DC_Initiate would have, at the given trace level.
    void openLogs(int32_t traceLevel = 1) {
        Public_loghandle = &host.publicLog_;
        Private_loghandle = &host.privateLog_;
        trceSetFp(Private_loghandle);
        DC_TraceLvl = traceLevel;
        JobOpName = "EXPORT_OP";
    }

    // The access layer up with the real record formats and the disk module
    // attached in DC_pmHandle, as a job's start leaves them.
    void attachDisk() {
        InitBlock init{1, "t", PM_INTERFACE_VERSION};
        ASSERT_EQ(pmInit(&init), 0u);
        pmInitialised = 1;
        pmData names[2] = {};
        ASSERT_EQ(pmAttach(names, 1, &DC_pmHandle), 0u);
    }
    // A file of the given format opened on the attached disk module.
    void openOnDisk(const TempFile& file, pmFp* fp, pmFormat format = pmFmtBinary,
                    int16_t mode = pmOpenWrite) {
        ASSERT_EQ(pmOpen(mode, 0, format, nullptr, 0, 0, file.path(), DC_pmHandle, nullptr, fp),
                  0u);
    }

    FakeHost host;
};

}  // namespace bu::test

#endif  // BU_TESTS_LAYER_FIXTURE_H
