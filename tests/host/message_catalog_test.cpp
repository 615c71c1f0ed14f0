// The catalogue has a text for every message number the operator writes,
// and renders each with its leader and arguments; what it does not know it
// still prints in full.
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

TEST(MessageCatalog, EveryNumberTheOperatorWritesHasAText) {
    const int32_t numbers[] = {
        19003, 19004, 19005, 19006, 19009, 19010, 19011, 19014, 19015, 19100, 19102, 19105,
        19106, 19107, 19108, 19109, 19110, 19111, 19112, 19113, 19115, 19116, 19128, 19129,
        19130, 19131, 19132, 19133, 19135, 19136, 19137, 19138, 19140, 19148, 19151, 19152,
        19153, 19154, 19155, 19156, 19157, 19158, 19159, 19160, 19170, 19185, 19201, 19202,
        19203, 19204, 19205, 19206, 19208, 19224, 19229, 19230, 19231, 19234, 19243, 19244,
        19245, 19246, 19247, 19248, 19249, 19250, 19251, 19301, 19302, 19303, 19304, 19305,
        19306, 19307, 19308, 19309, 19310, 19311, 19400, 19456, 19465, 19468, 19469, 19470,
        19471, 19473, 19475, 19476, 19477, 19501, 19502, 19503, 19504, 19505, 19506};
    for (int32_t n : numbers) EXPECT_NE(findCatalogEntry(n), nullptr) << n;
    for (int32_t n = 10661; n <= 10689; ++n) EXPECT_NE(findCatalogEntry(n), nullptr) << n;
    EXPECT_EQ(findCatalogEntry(10660), nullptr);
    EXPECT_EQ(findCatalogEntry(10690), nullptr);
    EXPECT_EQ(findCatalogEntry(19500), nullptr);
}

// The leader first, then the text with its arguments; a message without a
// leader uses all its arguments, or keeps one sent with it in front (texts
// that only resemble a leader are arguments); access layer statuses and
// date errors by formula, a number listed on its own winning over the run;
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
        {10665, {text("L")}, "L date/time conversion error 5"},
        {19465, {text("L")}, "L data cannot be processed with an unsupported character set"},
        {19202, {text("L"), text("X")}, "L attribute 'X' has length <missing>, expected <missing>"},
        {19015, {text("L"), num(8), num(9)}, "L exit code raised to 8 [9]"},
        {18000, {text("L"), num(1), text("x")}, "message 18000: L, 1, x"},
        {18000, {}, "message 18000"},
    };
    for (const auto& c : cases) EXPECT_EQ(renderMessage(c.number, c.args), c.text);
}

}  // namespace
}  // namespace buhost
