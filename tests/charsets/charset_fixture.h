// A fixture for the character-set tests: a fresh in-process host with both
// logs open, the character-set globals as at load, and the data error dump
// installed for the walk as at start.
#ifndef BU_TESTS_CHARSET_FIXTURE_H
#define BU_TESTS_CHARSET_FIXTURE_H

#include <gtest/gtest.h>

#include <string>

#include "charsets.h"
#include "dc_messages.h"
#include "fake_host.h"
#include "layer_hooks.h"

namespace bu::test {

inline std::string bytes(std::initializer_list<int> values) {
    std::string s;
    for (int v : values) s.push_back(static_cast<char>(v));
    return s;
}

class CharsetTest : public ::testing::Test {
  protected:
    void SetUp() override {
        rf::installLayerHooks();
        SG_opHandle = host.handle();
        Public_loghandle = &host.publicLog_;
        Private_loghandle = &host.privateLog_;
        JobOpName = "EXPORT_OP";
        ThisInstance = 1;
        DC_TraceLvl = 2;
        CurrentExitCode = NewExitCode = 0;
        badmbcs = fourByteUTF = 0;
        bCheckTolerant = 0;
        ASSERT_EQ(pmSetCharSet("ASCII"), 0);
    }
    void TearDown() override {
        Public_loghandle = Private_loghandle = nullptr;
        SG_opHandle = nullptr;
        DC_TraceLvl = 5;
        bu::charsets::setUtf16ByteOrder(2);
    }

    FakeHost host;
};

}  // namespace bu::test

#endif  // BU_TESTS_CHARSET_FIXTURE_H
