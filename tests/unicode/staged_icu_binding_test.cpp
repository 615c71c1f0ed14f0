// The ICU binding of the staged operator: each test copies the operator into
// a client tree of its own (with the staged shim, a variant of it, or none),
// loads the copy, and calls its exported px_ functions.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>

#include "hxclient.h"
#include "px_icu.h"
#include "staged_operator.h"

namespace {

namespace fs = std::filesystem;

// A px_ function of the loaded copy in `op`.
#define PX(name) OPERATOR_FUNCTION(op, px_##name)
using butest::LoadedOperator;

const UNormalizer2* const kNoNormalizer =
    reinterpret_cast<const UNormalizer2*>(static_cast<std::uintptr_t>(4));

// The loaded copy's stop callbacks, in the form a converter takes them.
decltype(px_UCNV_TO_U_CALLBACK_STOP)* toUStop = nullptr;
decltype(px_UCNV_FROM_U_CALLBACK_STOP)* fromUStop = nullptr;

void stopToU(const void* context, UConverterToUnicodeArgs* args, const char* units, int32_t length,
             UConverterCallbackReason reason, UErrorCode* err) {
    toUStop(context, args, units, length, reason, err);
}

void stopFromU(const void* context, UConverterFromUnicodeArgs* args, const UChar* units,
               int32_t length, UChar32 codePoint, UConverterCallbackReason reason,
               UErrorCode* err) {
    fromUStop(context, args, units, length, codePoint, reason, err);
}

class StagedIcuBinding : public butest::StagedTreeTest {
  protected:
    fs::path treeShim() const { return tree() / "17.20" / "lib64" / "libicuuchx.so"; }

    LoadedOperator load(const fs::path* shim, bool withMarker = true) {
        LoadedOperator op = loadTree(shim, withMarker);
        toUStop = PX(UCNV_TO_U_CALLBACK_STOP);
        fromUStop = PX(UCNV_FROM_U_CALLBACK_STOP);
        return op;
    }

    // A UTF-8 converter that stops at a bad character in both directions.
    static UConverter* openUtf8(const LoadedOperator& op) {
        UErrorCode status = U_ZERO_ERROR;
        UConverter* converter = PX(ucnv_open)("UTF8", &status);
        EXPECT_NE(converter, nullptr) << status;
        if (converter != nullptr) {
            EXPECT_EQ(
                PX(ucnv_setToUCallBack)(converter, stopToU, nullptr, nullptr, nullptr, &status), 0);
            EXPECT_EQ(
                PX(ucnv_setFromUCallBack)(converter, stopFromU, nullptr, nullptr, nullptr, &status),
                0);
        }
        EXPECT_EQ(status, U_ZERO_ERROR);
        return converter;
    }

    // UTF-8 to UTF-16 through the px_ calls.
    static UErrorCode toUtf16(const LoadedOperator& op, const std::string& utf8,
                              std::u16string& out) {
        UConverter* converter = openUtf8(op);
        if (converter == nullptr) return U_MISSING_RESOURCE_ERROR;
        UErrorCode status = U_ZERO_ERROR;
        UChar buffer[64];
        const int32_t length = PX(ucnv_toUChars)(converter, buffer, 64, utf8.data(),
                                                 static_cast<int32_t>(utf8.size()), &status);
        if (U_SUCCESS(status)) out.assign(buffer, static_cast<std::size_t>(length));
        EXPECT_EQ(PX(ucnv_close)(converter), 0);
        return status;
    }
};

TEST_F(StagedIcuBinding, TheLibraryIsBoundWhenACallNeedsItAndUnboundByTerm) {
    const fs::path shim = butest::stagedShim();
    LoadedOperator op = load(&shim);
    EXPECT_STREQ(PX(pxicuversion)(), "17.20.00.07");
    char* path = nullptr;
    EXPECT_EQ(OPERATOR_FUNCTION(op, HxClient_getClientPath)(&path), nullptr);
    OPERATOR_FUNCTION(op, HxClient_freeString)(path);
    EXPECT_EQ(op.global<void*>("hxicuLibHandle"), nullptr);
    EXPECT_FALSE(butest::isMapped(treeShim()));

    // The first call that needs it binds the library from the tree; term
    // unbinds it once, and the next call binds it again.
    EXPECT_EQ(PX(hxicu_term)(), 0);  // never bound
    EXPECT_EQ(PX(hxicu_init)(), 0);
    EXPECT_NE(op.global<void*>("hxicuLibHandle"), nullptr);
    EXPECT_TRUE(butest::isMapped(treeShim()));
    EXPECT_EQ(PX(hxicu_term)(), 0);
    EXPECT_EQ(op.global<void*>("hxicuLibHandle"), nullptr);
    EXPECT_EQ(PX(hxicu_term)(), 0);
    EXPECT_EQ(PX(u_strlen)(u"four"), 4);
    EXPECT_NE(op.global<void*>("hxicuLibHandle"), nullptr);
}

// Each call reaches the library in the tree with its arguments as given:
// the conversions both ways, the stop callbacks (without them ICU would
// substitute and carry on), the string and normalization calls.
TEST_F(StagedIcuBinding, CallsForwardToTheLibraryOfTheTree) {
    const fs::path shim = butest::stagedShim();
    LoadedOperator op = load(&shim);
    EXPECT_EQ(std::string(PX(hxicuversion)()).rfind("17.20.00.07 (ICU ", 0), 0u);
    const std::string utf8 =
        "Gr\xC3\xBC\xC3\x9F"
        "e \xF0\x9F\x98\x80";
    std::u16string utf16;
    EXPECT_EQ(toUtf16(op, utf8, utf16), U_ZERO_ERROR);
    EXPECT_EQ(utf16, u"Grüße \U0001F600");
    UConverter* converter = openUtf8(op);
    ASSERT_NE(converter, nullptr);
    UErrorCode status = U_ZERO_ERROR;
    char bytes[64];
    const int32_t length = PX(ucnv_fromUChars)(converter, bytes, 64, utf16.data(),
                                               static_cast<int32_t>(utf16.size()), &status);
    EXPECT_EQ(std::string(bytes, static_cast<std::size_t>(length)), utf8);
    const UChar lone[] = {u'a', 0xD800, u'b'};
    status = U_ZERO_ERROR;
    PX(ucnv_fromUChars)(converter, bytes, 64, lone, 3, &status);
    EXPECT_EQ(status, U_ILLEGAL_CHAR_FOUND) << PX(u_errorName)(status);
    EXPECT_EQ(PX(ucnv_close)(converter), 0);
    std::u16string out;
    EXPECT_EQ(toUtf16(op, "a\xC3\x28z", out), U_ILLEGAL_CHAR_FOUND);

    UChar buffer[32] = {};
    EXPECT_EQ(PX(u_strcpy)(buffer, u"data"), buffer);
    EXPECT_EQ(PX(u_strcat)(buffer, u"base"), buffer);
    EXPECT_EQ(PX(u_strstr)(buffer, u"base"), buffer + 4);
    EXPECT_EQ(PX(u_strncpy)(buffer, u"XYZ", 2), buffer);
    EXPECT_EQ(PX(u_strlen)(buffer), 8);
    EXPECT_EQ(std::u16string(buffer), u"XYtabase");
    status = U_ZERO_ERROR;
    const UNormalizer2* nfc = PX(unorm2_getInstance)(nullptr, "nfc", UNORM2_COMPOSE, &status);
    UChar composed[8];
    const int32_t composedLength = PX(unorm2_normalize)(nfc, u"e\u0301", 2, composed, 8, &status);
    EXPECT_EQ(status, U_ZERO_ERROR);
    EXPECT_EQ(std::u16string(composed, static_cast<std::size_t>(composedLength)), u"\u00E9");
}

TEST_F(StagedIcuBinding, MissingLibraryGivesTheFailureValuesAndEachCallTriesAgain) {
    LoadedOperator op = load(nullptr);
    const std::string expected =
        "Error: dlopen failed to open '" + treeShim().string() + "'.\nReason: ";
    UErrorCode status = U_ZERO_ERROR;
    for (int attempt = 0; attempt < 2; ++attempt) {
        const std::string printed =
            butest::capturedStdout([&] { EXPECT_EQ(PX(ucnv_open)("UTF8", &status), nullptr); });
        EXPECT_EQ(printed.rfind(expected, 0), 0u) << printed;
        EXPECT_EQ(printed.substr(printed.size() - 2), ".\n");
    }
    EXPECT_EQ(status, U_ZERO_ERROR);  // left alone

    butest::capturedStdout([&] {
        UChar text[4] = {u'a', 0};
        EXPECT_STREQ(PX(hxicuversion)(), "HXICU Library Not Found");
        EXPECT_EQ(PX(hxicu_init)(), 1);
        EXPECT_EQ(PX(ucnv_setToUCallBack)(nullptr, stopToU, nullptr, nullptr, nullptr, &status), 1);
        EXPECT_EQ(PX(UCNV_TO_U_CALLBACK_STOP)(nullptr, nullptr, nullptr, 0, UCNV_ILLEGAL, &status),
                  1);
        EXPECT_EQ(PX(ucnv_toUChars)(nullptr, text, 4, "x", 1, &status), 4);
        EXPECT_EQ(PX(ucnv_fromUChars)(nullptr, nullptr, 0, text, 1, &status), 4);
        EXPECT_EQ(PX(ucnv_close)(nullptr), 1);
        EXPECT_EQ(PX(u_strcpy)(text, text), nullptr);
        EXPECT_EQ(PX(u_strlen)(text), 0);
        EXPECT_EQ(PX(u_errorName)(U_ZERO_ERROR), nullptr);
        EXPECT_EQ(PX(unorm2_getInstance)(nullptr, "nfc", UNORM2_COMPOSE, &status), kNoNormalizer);
        EXPECT_EQ(PX(unorm2_normalize)(nullptr, text, 1, text, 4, &status), 4);
    });
    EXPECT_EQ(op.global<void*>("hxicuLibHandle"), nullptr);

    // Even given the failure value of px_unorm2_getInstance, normalize tries to bind.
    int32_t normalized = 0;
    const std::string retried = butest::capturedStdout([&] {
        UChar text[2] = {u'a', 0};
        normalized = PX(unorm2_normalize)(kNoNormalizer, text, 1, text, 2, &status);
    });
    EXPECT_EQ(normalized, 4);
    EXPECT_EQ(retried.rfind(expected, 0), 0u) << retried;

    // Once the library is there, the next call binds it.
    fs::create_directories(treeShim().parent_path());
    fs::copy_file(butest::stagedShim(), treeShim());
    EXPECT_EQ(std::string(PX(hxicuversion)()).rfind("17.20.00.07", 0), 0u);
}

TEST_F(StagedIcuBinding, MissingMarkerIsPrintedWithTheReason) {
    const fs::path shim = butest::stagedShim();
    LoadedOperator op = load(&shim, false);
    int32_t result = 0;
    const std::string printed = butest::capturedStdout([&] { result = PX(hxicu_init)(); });
    EXPECT_EQ(result, 1);
    EXPECT_EQ(printed,
              "HxClient_getLibPath failed.\nThe failure was because: The hxclientdir file is "
              "missing from \"" +
                  (tree() / "lib64").string() + "\"..\n");
}

// A library that lacks a name still binds, and the call of that name gives
// its failure value. Normalize, which the library has, must not be given it.
TEST_F(StagedIcuBinding, LibraryLackingANameBindsAndNeverGetsAFailureValue) {
    const fs::path shim = BU_SHIM_WITHOUT_GETINSTANCE;
    LoadedOperator op = load(&shim);
    EXPECT_EQ(PX(hxicu_init)(), 0);
    UErrorCode status = U_ZERO_ERROR;
    const UNormalizer2* nfc = PX(unorm2_getInstance)(nullptr, "nfc", UNORM2_COMPOSE, &status);
    EXPECT_EQ(nfc, kNoNormalizer);
    UChar out[8];
    EXPECT_EQ(PX(unorm2_normalize)(nfc, u"e\u0301", 2, out, 8, &status), 4);
}

}  // namespace
