// The flat interface: runs the search under the lock and turns exceptions
// into error objects, so that none crosses into the caller.
#include <cstring>
#include <new>
#include <string>

#include "client_directory.h"
#include "hxclient.h"
#include "hxvault_exception.h"

struct HxClientError {
    uint32_t Code;
    char* Description;
};

namespace {

using Halvex_HxVault::HxVaultException;
using Halvex_HxVault::PrivateStuff::ClientDirectory_t;

constexpr char kRelSelDirVersion[] = "17.20.00.02";
constexpr char kRelSelDirShortVersion[] = "17.20";

// Handed out when memory runs short, so that this path needs none; never freed.
char outOfMemoryText[] = "An out of memory condition exists.";
HxClientError outOfMemoryError{HXCLIENT_ERROR_OUT_OF_MEMORY, outOfMemoryText};

ClientDirectory_t& clientDirectory() {
    static ClientDirectory_t directory;
    return directory;
}

char* newText(const std::string& text) {
    char* copy = new char[text.size() + 1];
    std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

HxClientError* newError(const char* description) noexcept {
    auto* error = new (std::nothrow) HxClientError{HXCLIENT_ERROR_FAILED, nullptr};
    if (error == nullptr) return &outOfMemoryError;
    const std::size_t size = std::strlen(description) + 1;
    error->Description = new (std::nothrow) char[size];
    if (error->Description == nullptr) {
        delete error;
        return &outOfMemoryError;
    }
    std::memcpy(error->Description, description, size);
    return error;
}

template <class Body>
HxClientError* runGuarded(Body&& body) noexcept {
    try {
        body();
        return nullptr;
    } catch (const std::exception& e) {
        // Short memory included: the static error is for when this object
        // itself can't be made.
        return newError(e.what());
    } catch (...) {
        return newError("An unexpected failure occurred while locating the client directory.");
    }
}

void requireArgument(const void* argument, const char* what) {
    if (argument == nullptr) throw HxVaultException(std::string("No ") + what + " was given.");
}

}  // namespace

HxClientError* HxClient_getClientPath(char** Out) noexcept {
    if (Out != nullptr) *Out = nullptr;
    return runGuarded([&] {
        requireArgument(Out, "place for the client path");
        *Out = newText(clientDirectory().getPathname());
    });
}

HxClientError* HxClient_getLibPath(const char* Name, const char* SubPath, char** Out) noexcept {
    if (Out != nullptr) *Out = nullptr;
    return runGuarded([&] {
        requireArgument(Out, "place for the library path");
        requireArgument(Name, "library name");
        requireArgument(SubPath, "library subpath");
        const std::string path =
            clientDirectory().getPathname() + "/" + SubPath + "/lib" + Name + ".so";
        *Out = newText(path);
    });
}

const char* HxClient_getErrorDescription(const HxClientError* Error) noexcept {
    return Error == nullptr ? "" : Error->Description;
}

uint32_t HxClient_getErrorCode(const HxClientError* Error) noexcept {
    return Error == nullptr ? 0 : Error->Code;
}

void HxClient_freeError(HxClientError* Error) noexcept {
    if (Error == nullptr || Error == &outOfMemoryError) return;
    delete[] Error->Description;
    delete Error;
}

void HxClient_freeString(char* Text) noexcept {
    delete[] Text;
}

const char* HxClient_getRelSelDirVersion(void) noexcept {
    return kRelSelDirVersion;
}

const char* HxClient_getRelSelDirShortVersion(void) noexcept {
    return kRelSelDirShortVersion;
}
