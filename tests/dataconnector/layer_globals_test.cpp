// A table of globals puts back what it lists, as it was at load: values of
// any size, and an owned block freed on the way (the sanitizer run sees a
// leak otherwise); what it doesn't list stays as it is.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "layer_globals.h"

namespace {

int32_t counter = 7;
char name[8] = "load";
char* owned = nullptr;
int32_t unlisted = 1;

constexpr bu::LayerGlobal kTable[] = {BU_GLOBAL(counter), BU_GLOBAL(name), BU_OWNED_GLOBAL(owned)};
const bu::ValuesAtLoad<kTable> valuesAtLoad;

TEST(LayerGlobals, RestoreBringsBackTheValuesAtLoad) {
    counter = 9;
    std::strcpy(name, "a job");
    owned = static_cast<char*>(std::malloc(16));
    unlisted = 2;
    valuesAtLoad.restore();
    EXPECT_EQ(counter, 7);
    EXPECT_STREQ(name, "load");
    EXPECT_EQ(owned, nullptr);
    EXPECT_EQ(unlisted, 2);
}

}  // namespace
