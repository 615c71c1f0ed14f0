// The status table is dense (code n at row n), every text fits a 32-byte row
// of the name tables, and C and C++ see the same layout.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "px_boundary.h"

extern "C" const char* const bu_boundary_c_status_texts[PX_STATUS_COUNT];
extern "C" size_t bu_boundary_c_operator_handle_size(void);

namespace {

struct StatusRow {
    int code;
    const char* text;
};

#define ROW(code, name, text) {code, text},
constexpr StatusRow kRows[] = {PX_STATUS_LIST(ROW)};
#undef ROW

TEST(StatusCodes, TableIsDenseAndTextsFitTheirRows) {
    ASSERT_EQ(sizeof(kRows) / sizeof(kRows[0]), size_t{PX_STATUS_COUNT});
    for (int i = 0; i < PX_STATUS_COUNT; ++i) {
        EXPECT_EQ(kRows[i].code, i);
        EXPECT_LT(std::strlen(kRows[i].text), size_t{PX_STATUS_NAME_WIDTH}) << kRows[i].text;
        EXPECT_STREQ(kRows[i].text, bu_boundary_c_status_texts[i]);
    }
}

TEST(StatusCodes, TellingCodesHaveTheirTexts) {
    EXPECT_STREQ(kRows[PXSTC_EndOfData].text, "End Of Data");
    EXPECT_STREQ(kRows[PXSTC_NullPointer].text, "Null Pointer");
    EXPECT_STREQ(kRows[PXSTC_NextPhase].text, "Next Phase");
    EXPECT_STREQ(kRows[PXSTC_EndMethod].text, "End Method");
    EXPECT_STREQ(kRows[PXSTC_FatalError].text, "Fatal Error");
    EXPECT_STREQ(kRows[57].text, "Log Insufficient Memory Error");
    EXPECT_STREQ(kRows[72].text, "ConsumerCheckpointReq");
}

TEST(Layout, CAndCppAgree) {
    EXPECT_EQ(bu_boundary_c_operator_handle_size(), sizeof(OperatorHandle));
}

}  // namespace
