// Reading attributes: the checked fetch with its four kinds of failure, and
// the yes/no reader.
#include <cstring>
#include <string>

#include "attributes.h"
#include "layer_fixture.h"

namespace {

using bu::test::LayerTest;

class AttributeFetch : public LayerTest {
  protected:
    int32_t fetch(const char* name, int32_t required, int32_t length, int32_t exact) {
        return dcGetAttribute("Caller", name, &value, required, length, exact, &valueLength,
                              &status);
    }
    void* value = nullptr;
    int32_t valueLength = -1;
    int32_t status = -1;
};

// A length limit takes shorter and equal values, an exact length only its
// own; an optional attribute may be absent (status 5), and the outputs may
// be left out.
TEST_F(AttributeFetch, LengthsAndAbsence) {
    openLogs();
    host.setText("Name", "12345");
    for (int32_t limit : {5, 6, -1}) EXPECT_EQ(fetch("Name", 0, limit, 0), 0) << limit;
    EXPECT_EQ(fetch("Name", 0, 4, 0), PXSTC_FatalError);
    EXPECT_EQ(host.arguments(19202), "'Name' 5 4");

    host.publicMessages.clear();
    host.setText("Width", "abc");
    EXPECT_EQ(fetch("Width", 1, 4, 1), PXSTC_FatalError);
    EXPECT_EQ(host.arguments(19202), "'Width' 3 4");
    host.setInt("Width", 9);
    EXPECT_EQ(fetch("Width", 1, 4, 1), 0);
    EXPECT_EQ(*static_cast<const int32_t*>(value), 9);
    EXPECT_EQ(CurrentExitCode, 12);

    host.publicMessages.clear();
    EXPECT_EQ(fetch("Nothing", 0, -1, 0), 0);
    EXPECT_EQ(status, 5);
    EXPECT_EQ(dcGetAttribute("Caller", "Name", nullptr, 1, -1, 0, nullptr, nullptr), 0);
    EXPECT_EQ(PX_Len, 5);
    EXPECT_TRUE(host.publicMessages.empty());
}

// A required attribute that is missing: on the console before the public
// log is open, silent but fatal in any instance but the first.
TEST_F(AttributeFetch, RequiredAttributeMissing) {
    EXPECT_EQ(fetch("SYSTEM_Thing", 1, 4, 1), PXSTC_FatalError);
    EXPECT_EQ(host.console, std::vector<std::string>{
                                "FATAL_ERROR: Caller can't find required attribute SYSTEM_Thing"});
    EXPECT_EQ(host.exitCodes, (std::vector<int16_t>{12}));

    openLogs();
    EXPECT_EQ(dcGetAttribute("Caller", "Gone", nullptr, 1, -1, 0, nullptr, nullptr),
              PXSTC_FatalError);
    EXPECT_EQ(host.numbers(), std::vector<int32_t>{19201});
    host.publicMessages.clear();
    ThisInstance = 2;
    EXPECT_EQ(fetch("SYSTEM_Thing", 1, 4, 1), PXSTC_FatalError);
    EXPECT_TRUE(host.numbers().empty());
    EXPECT_EQ(host.console.size(), 1u);
}

TEST_F(AttributeFetch, FailuresOfTheHostHaveTheirMessages) {
    openLogs();
    host.setMultiValued("Many");
    EXPECT_EQ(fetch("Many", 0, -1, 0), PXSTC_FatalError);
    EXPECT_EQ(host.arguments(19205), "'Many' 'Multi-value' 'Single-value'");

    host.failAttribute("Broken", PXSTC_SystemError);
    EXPECT_EQ(fetch("Broken", 0, -1, 0), PXSTC_FatalError);
    EXPECT_EQ(host.arguments(19100), "'PX_GetAttribute' 8");

    host.op_.kind = PX_KIND_SCHEMA;
    EXPECT_EQ(fetch("Any", 0, -1, 0), PXSTC_FatalError);
    EXPECT_EQ(status, PXSTC_BadHandle);
}

// Answers no reader can take as given are the attribute's length error:
// 19202 with the length the host gave, exit code 12, 48, and no value handed
// on. A yes/no reader stops on them like any other reader.
TEST_F(AttributeFetch, UnreadableAnswersAreLengthErrors) {
    openLogs();
    char bytes[] = "YES";
    const struct {
        const char* what;
        void* value;
        int32_t length;
        int32_t limit;
    } cases[] = {
        {"null value with a length", nullptr, 3, -1},
        {"negative length, no limit", bytes, -1, -1},
        {"huge length", bytes, INT32_MAX, 15},
    };
    for (const auto& c : cases) {
        host.publicMessages.clear();
        host.forgeAttribute("Name", c.value, c.length);
        value = bytes;
        EXPECT_EQ(fetch("Name", 0, c.limit, 0), PXSTC_FatalError) << c.what;
        EXPECT_EQ(value, nullptr) << c.what;
        EXPECT_EQ(host.message(19202)->integer(2), c.length) << c.what;
        int32_t yn = 99;
        EXPECT_EQ(DC_GetYN("Name", &yn, 0, 0, 0), PXSTC_FatalError) << c.what;
    }
    EXPECT_EQ(CurrentExitCode, 12);

    // Nothing at all is an empty value, readable as such.
    host.forgeAttribute("Name", nullptr, 0);
    EXPECT_EQ(fetch("Name", 0, 15, 0), 0);
    ASSERT_NE(value, nullptr);
    EXPECT_STREQ(static_cast<const char*>(value), "");
}

class YesNo : public LayerTest {
  protected:
    int32_t read(const char* text, int32_t kind, int32_t defaultValue = 0) {
        if (text != nullptr) {
            host.setText("Flag", text);
        } else {
            host.remove("Flag");
        }
        value = 99;
        return DC_GetYN("Flag", &value, 0, defaultValue, kind);
    }
    int32_t value = 99;
};

// The spellings of each kind (0: yes or no; 1: or optional; 2: or yes
// without log), the default of an absent value, and invalid values with the
// kind's list, which read -1 and leave the exit code alone. A zero byte
// inside the value doesn't shorten it: "Y" and a zero is two bytes long.
TEST_F(YesNo, SpellingsDefaultsAndRefusals) {
    openLogs();
    const struct {
        const char* text;  // null: absent
        int32_t kind;
        int32_t defaultValue;
        int32_t rc;
        int32_t value;
        const char* valid;  // in 19205; empty: no message
    } cases[] = {
        {"y", 0, 0, 0, 1, ""},
        {"no", 0, 1, 0, 0, ""},
        {"n", 0, 1, 0, 0, ""},
        {"Yes", 0, 0, 0, 1, ""},
        {"o", 1, 0, 0, 2, ""},
        {"yesw", 2, 0, 0, 3, ""},
        {"YesWithoutLog", 2, 0, 0, 3, ""},
        {nullptr, 0, 1, 0, 1, ""},
        {nullptr, 0, -1, 0, -1, ""},
        {"YE", 0, 0, 1, -1, "Y[es] or N[o]"},
        {"OPTIONAL", 0, 0, 1, -1, "Y[es] or N[o]"},
        {"YESW", 1, 0, 1, -1, "Y[es], N[o] or O[ptional]"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text ? c.text : "absent");
        host.publicMessages.clear();
        EXPECT_EQ(read(c.text, c.kind, c.defaultValue), c.rc);
        EXPECT_EQ(value, c.value);
        EXPECT_EQ(bYNAttrPresent, c.text != nullptr);
        const auto* m = host.message(19205);
        ASSERT_EQ(m != nullptr, *c.valid != '\0');
        if (m != nullptr) {
            EXPECT_EQ(m->text(2), c.text);
            EXPECT_EQ(m->text(3), c.valid);
        }
    }
    host.setText("Flag", std::string("Y\0", 2));
    EXPECT_EQ(DC_GetYN("Flag", &value, 0, 0, 0), 1);
    EXPECT_EQ(value, -1);
    EXPECT_EQ(CurrentExitCode, 0);

    // At the statistics trace level the value read is shown, a default marked so.
    StatsTraceLevel = 1;
    read(nullptr, 0, 1);
    read("n", 0);
    StatsTraceLevel = 0;
    EXPECT_TRUE(host.traced("Flag: 'YES (defaulted)' (=1)"));
    EXPECT_TRUE(host.traced("Flag: 'NO' (=0)"));
}

}  // namespace
