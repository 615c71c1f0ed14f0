// The catalogue renders each message with its leader and arguments; what it
// does not know it still prints in full.
#include <gtest/gtest.h>

#include "catalog/message_catalog.h"

namespace buhost {
namespace {

LogArg text(const char* t) {
    return {PX_TAG_TEXT, 0, t};
}
LogArg num(int64_t n) {
    return {PX_TAG_INT32, n, {}};
}

// The leader first, then the text with its arguments; a message without a
// leader uses all its arguments, or keeps one sent with it in front (texts
// that only resemble a leader are arguments); access layer statuses and
// date errors by formula (10661 to 10689), a number listed on its own winning over the run;
// missing, extra and unknown arguments shown, not dropped.
TEST(MessageCatalog, RenderedTexts) {
    const struct {
        int32_t number;
        std::vector<LogArg> args;
        const char* text;
    } cases[] = {
        {19015, {text("OP[2]: QLN19015"), num(12)}, "OP[2]: QLN19015 exit code raised to 12"},
        {19202,
         {text("L"), text("Format"), num(12), num(10)},
         "L attribute 'Format' has length 12, expected 10"},
        {19006, {text("Name"), text("1.2")}, "Name, version 1.2"},
        {19115, {text("PX_Execute")}, "PX_Execute was called before the operator was initiated"},
        {19006,
         {text("OP[1]: QLN19006"), text("Name"), text("1.2")},
         "OP[1]: QLN19006 Name, version 1.2"},
        {19115,
         {text("OP[3]:"), text("PX_Execute")},
         "OP[3]: PX_Execute was called before the operator was initiated"},
        {19006, {text("A[1]: QLN1"), text("B")}, "A[1]: QLN1, version B"},
        {19006, {text("[1]:"), text("B")}, "[1]:, version B"},
        {19456,
         {text("L"), text("pmRepos"), num(56), text("pipe")},
         "L pmRepos failed with access layer status 56: pipe"},
        {19409,
         {text("OP"), text("pmClose"), num(9)},
         "OP pmClose failed with access layer status 9"},
        {10661, {text("L")}, "L date/time conversion error 1"},
        {10689, {text("L")}, "L date/time conversion error 29"},
        {10690, {text("L")}, "message 10690: L"},
        {19465, {text("L")}, "L data cannot be processed with an unsupported character set"},
        {19202, {text("L"), text("X")}, "L attribute 'X' has length <missing>, expected <missing>"},
        {19015, {text("L"), num(8), num(9)}, "L exit code raised to 8 [9]"},
        {18000, {text("L"), num(1), text("x")}, "message 18000: L, 1, x"},
        {10660, {}, "message 10660"},
    };
    for (const auto& c : cases) EXPECT_EQ(renderMessage(c.number, c.args), c.text);
}

}  // namespace
}  // namespace buhost
