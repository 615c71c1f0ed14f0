// Access Modules: the command blocks, the one call path to a module, and
// attaching and detaching modules (the default disk module included).
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "hxclient.h"
#include "pm_layer.h"

namespace pm {
namespace {

constexpr uint32_t kMaxLoadName = 517;  // name plus room for a suffix

void stamp(void* block, const char* name, uint32_t length) {
    char title[AM_TITLE_SIZE] = {};
    std::snprintf(title, sizeof title, "%s%s", AM_TITLE_PREFIX, name);
    std::memcpy(block, title, sizeof title);
    std::memcpy(static_cast<char*>(block) + AM_TITLE_SIZE, &length, sizeof length);
}

ModuleBlocks* makeBlocks() {
    static ModuleBlocks b{};
    stamp(&b.cmd, "CmdBlock_t", sizeof b.cmd);
    stamp(&b.init, "Init_t", sizeof b.init);
    stamp(&b.open, "Open_t", sizeof b.open);
    stamp(&b.close, "Close_t", sizeof b.close);
    stamp(&b.read, "RW_t", sizeof b.read);
    stamp(&b.write, "RW_t", sizeof b.write);
    stamp(&b.getPos, "Pos_t", sizeof b.getPos);
    stamp(&b.setPos, "Pos_t", sizeof b.setPos);
    stamp(&b.shut, "Shut_t", sizeof b.shut);
    stamp(&b.id, "ID_t", sizeof b.id);
    for (Attr_t* a : {&b.getModuleAttr, &b.getFileAttr, &b.putModuleAttr, &b.putFileAttr}) {
        stamp(a, "Attr_t", sizeof *a);
    }
    return &b;
}

// Adds ".so" unless the name already has a suffix after its last slash.
uint32_t appendSuffix(const char* name, uint32_t length, char* out) {
    static const char kFn[] = "pmAppendSuffix";
    char text[256];
    if (length > kMaxLoadName) {
        std::snprintf(text, sizeof text, "!ERROR! %s (%d bytes) %s (%d bytes)",
                      "Access Module name", static_cast<int>(length), "exceeds maximum length",
                      static_cast<int>(kMaxLoadName));
        trceprnt(kFn, text, "");
        trceprnt(kFn, "pmAppendSuffix failed", "");
        pmSetErrTxt(text, static_cast<uint32_t>(std::strlen(text)));
        return pmrcFailure;
    }
    std::memcpy(out, name, length);
    out[length] = '\0';
    if (traceAbove(1)) {
        trceprnt(kFn, "AXSMOD name=", out);
        trceprnt(kFn, "suffix=", ".so");
    }
    const char* dot = std::strrchr(out, '.');
    const char* slash = std::strrchr(out, '/');
    if (dot != nullptr && (slash == nullptr || dot > slash)) {
        if (traceAbove(1)) trceprnt(kFn, "Suffix already exists", "");
        if (std::strcmp(dot, ".so") != 0 && traceAbove(1)) {
            std::snprintf(text, sizeof text, "%s '%s'.  Expected '%s'",
                          "!WARNING! Unconventional module suffix", dot, ".so");
            trceprnt(kFn, text, "");
        }
    } else if (length + 3 > kMaxLoadName) {
        std::snprintf(text, sizeof text, "!ERROR! %s %d %s %d %s %d", "Appending suffix (length", 3,
                      ") to Access Modules name (length", static_cast<int>(length),
                      "exceeds maximum length of", static_cast<int>(kMaxLoadName));
        trceprnt(kFn, text, "");
        trceprnt(kFn, "pmAppendSuffix failed", "");
        pmSetErrTxt(text, static_cast<uint32_t>(std::strlen(text)));
        return pmrcFailure;
    } else {
        std::memcpy(out + length, ".so", 4);
        if (traceAbove(1)) trceprnt("pmAppendSufix", "Appending access module suffix", "");
    }
    if (traceAbove(1)) trceprnt(kFn, "Updated AM:", out);
    return pmrcOK;
}

void* tryOpen(const char* what, const char* path) {
    if (traceAbove(1)) trceprnt("pmAttach", what, path);
    return dlopen(path, RTLD_LAZY);
}

constexpr size_t kMaxLoadPath = PM_MAX_FILE_NAME + kMaxLoadName + 8;

// The directory of the client's version-specific libraries, with its final
// slash, into `out`; false when it can't be found.
bool installDirectory(const char* name, char (&out)[kMaxLoadPath]) {
    static const char kFn[] = "pmAttach";
    char subPath[64];
    std::snprintf(subPath, sizeof subPath, "%s/lib64", HxClient_getRelSelDirShortVersion());
    if (traceAbove(1)) trceprnt(kFn, "RelSelDir subpath=", subPath);
    char* fullName = nullptr;
    HxClientError* error = HxClient_getLibPath(name, subPath, &fullName);
    if (error != nullptr) {
        if (traceAbove(1)) {
            trceprnt(kFn,
                     "HxClient_getLibPath failed. Reason: ", HxClient_getErrorDescription(error));
        }
        HxClient_freeError(error);
        return false;
    }
    if (fullName == nullptr) return false;
    if (traceAbove(1)) trceprnt(kFn, "RelSelDir full name=", fullName);
    const char* slash = std::strrchr(fullName, '/');
    size_t length = slash == nullptr ? 0 : static_cast<size_t>(slash - fullName) + 1;
    bool fits = length > 0 && length + kMaxLoadName + 1 < sizeof out;
    if (fits) {
        std::memcpy(out, fullName, length);
        out[length] = '\0';
    }
    HxClient_freeString(fullName);
    return fits;
}

// Loads the module: a name with a slash is opened as it stands and nowhere
// else; a bare name is tried in the client's library directory, then in the
// current directory, then left to the dynamic linker's own search.
void* loadModule(const char* name) {
    static const char kFn[] = "pmAttach";
    if (traceAbove(1)) TRCECMTI(kFn, "dlopen flags = ", RTLD_LAZY);
    if (std::strchr(name, '/') != nullptr) {
        if (traceAbove(1)) trceprnt(kFn, "Path found in AXSMOD name", "");
        return tryOpen("Try original lib name=", name);
    }
    if (traceAbove(1)) trceprnt(kFn, "No path in AXSMOD name", "");
    char path[kMaxLoadPath];
    if (installDirectory(name, path)) {
        size_t used = std::strlen(path);
        size_t length = std::strlen(name);
        if (used + length < sizeof path) {
            std::memcpy(path + used, name, length + 1);
            if (void* library = tryOpen("Try Install path=", path)) return library;
        }
        std::snprintf(path, sizeof path, "./%s", name);
        if (void* library = tryOpen("Try CWD path=", path)) return library;
    }
    return tryOpen("Try original lib name=", name);
}

void unloadModule(void* library) {
    static const char kFn[] = "dcDelinkPIDM";
    if (library == nullptr) return;
    if (traceAbove(1))
        TRCECMTX(kFn, "closing DDAM at PIDM_LIB_pointer=",
                 static_cast<uint32_t>(reinterpret_cast<uintptr_t>(library)));
    int rc = dlclose(library);
    if (traceAbove(1)) TRCECMTI(kFn, "dlclose returned=", rc);
    if (rc != 0 && traceAbove(1)) {
        const char* why = dlerror();
        trceprnt(kFn, "!WARNING! dlclose failed", "");
        trceprnt(kFn, "!WARNING! dlerror says ", why ? why : "");
    }
}

uint32_t initModule(PIDMMain_t entry, const pmData& initStr, uint64_t* piData) {
    Init_t& b = blocks().init;
    const char* client = layer().clientName;
    uint32_t copied = initStr.Length > 512 ? 512 : initStr.Length;
    b.InterfaceLevel = AM_INTERFACE_LEVEL;
    b.ClientLevel = AM_CLIENT_LEVEL;
    b.ClientNameLen = static_cast<uint32_t>(std::strlen(client));
    std::memset(b.ClientName, 0, sizeof b.ClientName);
    std::memcpy(b.ClientName, client, b.ClientNameLen);
    std::memset(b.InitStr, 0, sizeof b.InitStr);
    if (copied > 0 && initStr.Data != nullptr) std::memcpy(b.InitStr, initStr.Data, copied);
    b.InitStrLen = initStr.Data != nullptr ? copied : 0;
    b.InitStrFullLen = initStr.Data != nullptr ? initStr.Length : 0;
    b.InitStrFull = static_cast<const char*>(initStr.Data);
    uint32_t rc = commWithModule("pmAttach", entry, &b, pmfcInit, TLGlobalPtr->DefaultLevel);
    *piData = b.PIData;
    return rc;
}

void traceVersions(VersionRecord* chain) {
    static const char kDots[] = "..................................................";
    for (VersionRecord* r = chain; r != nullptr; r = r->Next) {
        char line[160];
        int nameLen = static_cast<int>(strnlen(r->Name, sizeof r->Name));
        int fill = 40 - nameLen;
        if (fill < 1) fill = 1;
        std::snprintf(line, sizeof line, "%.*s%.*s %.*s", nameLen, r->Name, fill, kDots,
                      static_cast<int>(strnlen(r->Version, sizeof r->Version)), r->Version);
        trceprnt("pmAttach", line, "");
    }
}

void traceVersionsOf(pmHandle token) {
    VersionRecord* chain = nullptr;
    uint32_t rc = pmGetID(token, &chain);
    if (rc != pmrcOK) {
        TRCECMTU("pmAttach", "pmGetID failed, rc=", rc);
        return;
    }
    if (traceAbove(1)) traceVersions(chain);
}

}  // namespace

ModuleBlocks& blocks() {
    static ModuleBlocks* b = makeBlocks();
    return *b;
}

uint32_t commWithModule(const char* caller, PIDMMain_t entry, void* block, uint32_t funcCode,
                        int32_t traceLevel) {
    CmdBlock_t& cmd = blocks().cmd;
    cmd.FuncCode = funcCode;
    cmd.TraceLevel = static_cast<uint32_t>(traceLevel);
    if (traceAbove(4)) {
        uint32_t length = 0;
        std::memcpy(&length, static_cast<char*>(block) + AM_TITLE_SIZE, sizeof length);
        trceprnt(caller, "calling PIDMMain via COMM_WITH_AM", "");
        trceprnt(caller, "Parameter block", "");
        dump(block, length);
    }
    if (entry == nullptr) {
        static char kNull[] = "COMM_WITH_AM: NULL IPCHandle";
        cmd.ReturnCode = pmrcFailure;
        cmd.ErrText = kNull;
        cmd.ErrTextLen = sizeof kNull - 1;
    } else {
        entry(&cmd, block);
    }
    uint32_t rc = cmd.ReturnCode;
    if (rc == pmrcFailure) pmSetErrTxt(cmd.ErrText, cmd.ErrText ? cmd.ErrTextLen : 0);
    if (traceAbove(4)) TRCECMTU(caller, "PIDMMain rc=", rc);
    if (rc == pmrcTimeOut && traceAbove(1))
        trceprnt(caller, "!WARNING!", "Access Module timed out");
    return rc;
}

uint32_t moduleGetID(Paramod* mod, VersionRecord** out) {
    // The record in the packed block isn't aligned for use as a link, so
    // the chain gets an aligned copy of it.
    static VersionRecord moduleRecord;
    ID_t& b = blocks().id;
    std::memset(b.Version.Name, 0, sizeof b.Version.Name);
    std::memset(b.Version.Version, 0, sizeof b.Version.Version);
    uint32_t rc = commWithModule("pmGetID", mod->pmIPCHandle, &b, pmfcID, mod->TraceLvl);
    if (rc != pmrcOK) return rc;
    std::memcpy(moduleRecord.Name, b.Version.Name, sizeof moduleRecord.Name);
    std::memcpy(moduleRecord.Version, b.Version.Version, sizeof moduleRecord.Version);
    moduleRecord.Name[sizeof moduleRecord.Name - 1] = '\0';
    moduleRecord.Version[sizeof moduleRecord.Version - 1] = '\0';
    moduleRecord.Next = nullptr;
    *out = &moduleRecord;
    return pmrcOK;
}

}  // namespace pm

using namespace pm;

extern "C" uint32_t pmAttach(pmData* Names, uint32_t CheckPointMethod, pmHandle* Out) noexcept {
    static const char kFn[] = "pmAttach";
    pm::TraceEntryExit entryExit(kFn);
    if (!layer().initialized) return notInitialized(kFn);
    if (Names == nullptr || Out == nullptr) return pmrcBadParm;
    const pmData& name = Names[0];
    const pmData& initStr = Names[1];
    if (name.Length > 0 && name.Data == nullptr) return pmrcBadParm;
    if (name.Length > PM_MAX_MODULE_NAME) {
        TRCECMTI(kFn, "!ERROR! Access Module Name field >", PM_MAX_MODULE_NAME);
        return pmrcBadParm;
    }
    if (CheckPointMethod != 1 && CheckPointMethod != 2) {
        TRCECMTU(kFn, "!ERROR! Invalid CheckPointMethod=", CheckPointMethod);
        return pmrcBadCheckpointMethod;
    }
    PIDMMain_t entry = nullptr;
    void* library = nullptr;
    uint64_t piData = 0;
    if (name.Length == 0) {
        if (traceAbove(2)) trceprnt(kFn, "Initializing DEFAULT Access Module", "");
    } else {
        if (traceAbove(2)) {
            char shown[PM_MAX_MODULE_NAME + 1];
            std::snprintf(shown, sizeof shown, "%.*s", static_cast<int>(name.Length),
                          static_cast<const char*>(name.Data));
            trceprnt(kFn, "Initializing Access Module=", shown);
        }
        char path[kMaxLoadName + 4];
        uint32_t rc = appendSuffix(static_cast<const char*>(name.Data), name.Length, path);
        if (rc != pmrcOK) return rc;
        library = loadModule(path);
        if (library == nullptr) {
            const char* why = dlerror();
            trceprnt(kFn, "!ERROR! dlopen failed", "");
            trceprnt(kFn, "!ERROR! dlerror says: ", why ? why : "");
            char text[PM_MAX_ERROR_TEXT + 64];
            std::snprintf(text, sizeof text, "%s: %s", "!ERROR! dlopen failed", why ? why : "");
            pmSetErrTxt(text, static_cast<uint32_t>(strnlen(text, PM_MAX_ERROR_TEXT)));
            return pmrcFailure;
        }
        entry = reinterpret_cast<PIDMMain_t>(dlsym(library, AM_ENTRY_SYMBOL));
        if (entry == nullptr) {
            const char* why = dlerror();
            trceprnt(kFn, "!ERROR! dlsym failed", "");
            trceprnt(kFn, "!ERROR! dlerror says ", why ? why : "");
            unloadModule(library);
            return pmrcSymbolError;
        }
        rc = initModule(entry, initStr, &piData);
        if (rc != pmrcOK) {
            unloadModule(library);
            return rc;
        }
    }
    uint32_t token = 0;
    auto* mod = static_cast<Paramod*>(pmGetMem(sizeof(Paramod), &token, 1));
    if (mod == nullptr) {
        trceprnt(kFn, "!ERROR! Memory allocation error", "");
        unloadModule(library);
        *Out = 0;
        return pmrcMemory;
    }
    mod->MMToken = token;
    mod->TraceLvl = TLGlobalPtr->DefaultLevel;
    mod->NameLen = name.Length;
    if (name.Length > 0) std::memcpy(mod->Name, name.Data, name.Length);
    mod->pmIPCHandle = entry;
    mod->InitStrLen = initStr.Data != nullptr ? initStr.Length : 0;
    mod->InitStr = static_cast<char*>(initStr.Data);
    mod->PIData = piData;
    mod->PIDM_LIB_pointer = library;
    if (SG_Paramod_last != nullptr) {
        SG_Paramod_last->Next = mod;
    } else {
        SG_Paramod_1st = mod;
    }
    SG_Paramod_last = mod;
    *Out = token;
    traceVersionsOf(token);
    return pmrcOK;
}

extern "C" uint32_t pmDetach(pmHandle Handle, uint32_t Mode) noexcept {
    static const char kFn[] = "pmDetach";
    pm::TraceEntryExit entryExit(kFn);
    Paramod* mod = nullptr;
    uint32_t rc = checkHandle(Handle, &mod, kFn);
    if (rc != pmrcOK) return rc;
    if (Mode != 1 && Mode != 2) {
        if (traceAbove(1)) trceprnt(kFn, "!ERROR! Invalid Mode", "");
        return pmrcBadParm;
    }
    if (Mode == 1 && mod->FirstFile != nullptr) {
        if (traceAbove(1)) trceprnt(kFn, "!ERROR! Access Module still has open files", "");
        return pmrcFilesOpen;
    }
    if (traceAbove(1)) {
        if (mod->pmIPCHandle != nullptr) {
            trceprnt(kFn, "Detaching Access Module=", mod->Name);
        } else {
            trceprnt(kFn, "Detaching default Access Module", "");
        }
    }
    for (FileInfo* file = mod->FirstFile; file != nullptr;) {
        FileInfo* next = file->Next;
        (void)pmClose(file->MMToken);
        file = next;
    }
    if (Mode == 2) {
        mod->FirstFile = nullptr;
        mod->PrevFile = nullptr;
    }
    if (mod->pmIPCHandle != nullptr) {
        Shut_t& b = blocks().shut;
        b.PIData = mod->PIData;
        b.Mode = static_cast<uint16_t>(Mode);
        rc = commWithModule(kFn, mod->pmIPCHandle, &b, pmfcShut, mod->TraceLvl);
        if (rc != pmrcOK && Mode == 1) return rc;
        rc = pmrcOK;
        // The object stays loaded: a later attach of the same name runs its
        // initialisation again.
        if (traceAbove(1)) trceprnt(kFn, "!WARNING! dlclose BYPASSED!", "");
    }
    Paramod* previous = nullptr;
    for (Paramod* p = SG_Paramod_1st; p != nullptr && p != mod; p = p->Next) previous = p;
    if (previous != nullptr) {
        previous->Next = mod->Next;
    } else if (SG_Paramod_1st == mod) {
        SG_Paramod_1st = mod->Next;
    }
    if (SG_Paramod_last == mod) SG_Paramod_last = previous;
    if (mod->InitStrLen != 0) std::free(mod->InitStr);
    mod->InitStr = nullptr;
    mod->MMToken = 0;
    pmFreeMem(Handle);
    return rc;
}
