// Opening the wrapped ICU library from the client directory, and closing it.
#include "icu_binding.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "bu_version.h"
#include "hxclient.h"
#include "px_icu.h"

void* hxicuLibHandle = nullptr;

namespace bu::unicode {

namespace {

// The names looked up, in slot order.
constexpr const char* kIcuSymbolNames[] = {
    "ucnv_open",
    "ucnv_setToUCallBack",
    "ucnv_setFromUCallBack",
    "UCNV_TO_U_CALLBACK_STOP",
    "UCNV_FROM_U_CALLBACK_STOP",
    "ucnv_toUChars",
    "ucnv_fromUChars",
    "ucnv_close",
    "u_strcpy",
    "u_strncpy",
    "u_strstr",
    "u_strcat",
    "u_strlen",
    "u_errorName",
    "hxicuversion",
    "unorm2_getInstance",
    "unorm2_normalize",
};
static_assert(std::size(kIcuSymbolNames) == kIcuSlotCount);

constexpr int32_t kUnbound = 1;
constexpr int32_t kBound = 2;

constexpr char kLibraryName[] = "icuuchx";
constexpr char kLibraryDirectory[] = "lib64";
constexpr char kBindingVersion[] = BU_VERSION;

// There is no failed state: every call after a failure tries again.
int32_t bindState = kUnbound;
void* slots[kIcuSlotCount] = {};

// "<version>/lib64", below the client directory; null when memory is short.
char* newSubPath() {
    const char* version = HxClient_getRelSelDirShortVersion();
    const std::size_t size = std::strlen(version) + 7;
    auto* subPath = static_cast<char*>(std::malloc(size));
    if (subPath != nullptr) std::snprintf(subPath, size, "%s/%s", version, kLibraryDirectory);
    return subPath;
}

// The library's full name, or null with the reason printed.
char* libraryFileName() {
    char* subPath = newSubPath();
    if (subPath == nullptr) {
        std::printf("Error: Cannot allocate the CLI subpath name\n");
        return nullptr;
    }
    char* fileName = nullptr;
    HxClientError* error = HxClient_getLibPath(kLibraryName, subPath, &fileName);
    std::free(subPath);
    if (error != nullptr) {
        std::printf("HxClient_getLibPath failed.\n");
        std::printf("The failure was because: %s.\n", HxClient_getErrorDescription(error));
        HxClient_freeError(error);
        return nullptr;
    }
    return fileName;
}

}  // namespace

int32_t ensureBound() noexcept {
    return bindState == kBound ? 0 : px_hxicu_init();
}

void* slotAddress(IcuSlot slot) noexcept {
    return slots[slot];
}

}  // namespace bu::unicode

using namespace bu::unicode;

int32_t px_hxicu_init(void) noexcept {
    if (bindState != kUnbound) return 0;
    char* fileName = libraryFileName();
    if (fileName == nullptr) return 1;

    // Global, so that ICU's data library, loaded by the wrapper, is visible to it.
    void* handle = dlopen(fileName, RTLD_LAZY | RTLD_GLOBAL);
    if (handle == nullptr) {
        std::printf("Error: dlopen failed to open '%s'.\nReason: %s.\n", fileName, dlerror());
        HxClient_freeString(fileName);
        return 1;
    }
    HxClient_freeString(fileName);

    // A name the library lacks leaves its slot null; its wrapper then fails alone.
    for (int slot = 0; slot < kIcuSlotCount; ++slot) {
        slots[slot] = dlsym(handle, kIcuSymbolNames[slot]);
    }
    hxicuLibHandle = handle;
    bindState = kBound;
    return 0;
}

int32_t px_hxicu_term(void) noexcept {
    if (bindState != kBound || hxicuLibHandle == nullptr) return 0;
    if (dlclose(hxicuLibHandle) != 0) return 2;
    hxicuLibHandle = nullptr;
    std::memset(slots, 0, sizeof slots);
    bindState = kUnbound;
    return 0;
}

const char* px_pxicuversion(void) noexcept {
    return kBindingVersion;
}
