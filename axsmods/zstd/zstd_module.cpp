// The compressing Access Module: files written through it are zstd streams,
// files read through it are decompressed. Checkpoints end a frame, so a
// restarted job cuts the file at its last checkpoint and goes on with new
// frames, and the result decompresses exactly as an uninterrupted run's.
// docs/access-module-guide.md walks through this module.
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "compressed_writer.h"
#include "decompressed_reader.h"
#include "init_settings.h"
#include "module_file.h"
#include "pmddamt.h"

namespace zstdaxsm {
namespace {

std::string& failureStore() {
    static std::string text;
    return text;
}

struct Instance {
    Settings settings;
};

template <typename T>
T* fromWord(uint64_t word) {
    return reinterpret_cast<T*>(static_cast<uintptr_t>(word));
}

uint64_t toWord(const void* p) {
    return static_cast<uint64_t>(reinterpret_cast<uintptr_t>(p));
}

uint32_t initInstance(Init_t* b) {
    Settings settings;
    std::string why;
    std::string_view text(b->InitStrFull != nullptr ? b->InitStrFull : "", b->InitStrFullLen);
    // A fault in the string is answered with a text of its own that names the
    // word, which the bare codes 20 to 22 can't say.
    if (!parseInitString(text, &settings, &why)) return failWith(why);
    b->PIData = toWord(new Instance{settings});
    return pmrcOK;
}

uint32_t openFile(Open_t* b) {
    auto* in = fromWord<Instance>(b->PIData);
    if (in == nullptr) return pmrcBadParm;
    std::string name(b->FName, b->FNameLen);
    std::unique_ptr<ModuleFile> file;
    uint32_t rc = pmrcBadMode;
    if (b->OpenMode == pmOpenRead) rc = DecompressedReader::open(name, &file);
    if (b->OpenMode == pmOpenWrite || b->OpenMode == pmOpenUpdate) {
        rc = CompressedWriter::open(name, b->OpenMode == pmOpenUpdate, in->settings, &file);
    }
    if (rc != pmrcOK && rc != pmrcEmptyFile) return rc;
    b->FIData = toWord(file.release());
    b->BufferSize = kBlockSize;
    b->BlkHeaderLen = 0;
    return rc;
}

uint32_t closeFile(Close_t* b) {
    std::unique_ptr<ModuleFile> file(fromWord<ModuleFile>(b->FIData));
    if (!file) return pmrcBadParm;
    return file->close();
}

uint32_t readBlock(RW_t* b) {
    auto* file = fromWord<ModuleFile>(b->FIData);
    if (file == nullptr) return pmrcBadParm;
    uint32_t got = 0;  // the block is packed: its Length can't be written through a pointer
    uint32_t rc = file->read(b->Buffer, kBlockSize, &got);
    b->Length = got;
    return rc;
}

uint32_t writeBlock(RW_t* b) {
    auto* file = fromWord<ModuleFile>(b->FIData);
    if (file == nullptr || (b->Buffer == nullptr && b->Length != 0)) return pmrcBadParm;
    return file->write(b->Buffer, b->Length);
}

uint32_t getPosition(Pos_t* b) {
    // The bytes must stay put until the layer has copied them: one file's
    // position at a time is asked for.
    static ZstdPosition position;
    auto* file = fromWord<ModuleFile>(b->FIData);
    if (file == nullptr) return pmrcBadParm;
    uint32_t rc = file->position(&position);
    if (rc != pmrcOK) return rc;
    b->Data = &position;
    b->Length = sizeof position;
    return pmrcOK;
}

uint32_t setPosition(Pos_t* b) {
    auto* file = fromWord<ModuleFile>(b->FIData);
    if (file == nullptr) return pmrcBadParm;
    if (b->Length != sizeof(ZstdPosition) || b->Data == nullptr) return pmrcBadPosLength;
    ZstdPosition position;
    std::memcpy(&position, b->Data, sizeof position);
    return file->reposition(position);
}

// The attributes the operator sends at attach and when the format is known;
// none changes what the module does.
uint32_t putModuleAttribute(const Attr_t* b) {
    static constexpr std::string_view kKnown[] = {
        "VKM_OP_HANDLE",   "INSTANCE_NUMBERS", "CHARSET_NAME",   "PRESERVE_RESTART_INFO",
        "TIMEOUT_SECONDS", "RECORD_TYPE",      "DELIMITER_VALUE"};
    std::string_view name(b->Name, b->NameLen < sizeof b->Name ? b->NameLen : sizeof b->Name);
    for (std::string_view known : kKnown) {
        if (name == known) return pmrcOK;
    }
    return pmrcUnknownAttr;
}

void identify(ID_t* b) {
    std::snprintf(b->Version.Name, sizeof b->Version.Name, "%s", "ZSTDAXSM");
    std::snprintf(b->Version.Version, sizeof b->Version.Version, "%s", "17.20.00.01");
}

uint32_t dispatch(uint32_t code, void* parm) {
    switch (code) {
        case pmfcInit:
            return initInstance(static_cast<Init_t*>(parm));
        case pmfcOpen:
            return openFile(static_cast<Open_t*>(parm));
        case pmfcClose:
        case pmfcCloseRestart:
            return closeFile(static_cast<Close_t*>(parm));
        case pmfcRead:
            return readBlock(static_cast<RW_t*>(parm));
        case pmfcWrite:
            return writeBlock(static_cast<RW_t*>(parm));
        case pmfcGetPos:
            return getPosition(static_cast<Pos_t*>(parm));
        case pmfcSetPos:
            return setPosition(static_cast<Pos_t*>(parm));
        case pmfcShut:
            delete fromWord<Instance>(static_cast<Shut_t*>(parm)->PIData);
            return pmrcOK;
        case pmfcID:
            identify(static_cast<ID_t*>(parm));
            return pmrcOK;
        case pmfcPutModuleAttr:
            return putModuleAttribute(static_cast<Attr_t*>(parm));
        case pmfcGetModuleAttr:
        case pmfcGetFileAttr:
        case pmfcPutFileAttr:
            return pmrcUnknownAttr;
        default:
            return pmrcUnsupported;
    }
}

}  // namespace

uint32_t failWith(const std::string& text) {
    failureStore() = concat({"zstdaxsm: ", text});
    return pmrcFailure;
}

const std::string& failureText() {
    return failureStore();
}

}  // namespace zstdaxsm

extern "C" __attribute__((visibility("default"))) void PIDMMain(void* Cmd, void* Parm) noexcept {
    using namespace zstdaxsm;
    auto* cmd = static_cast<CmdBlock_t*>(Cmd);
    if (cmd == nullptr) return;
    uint32_t rc = pmrcMemory;
    try {
        rc = Parm == nullptr ? uint32_t{pmrcBadParm} : dispatch(cmd->FuncCode, Parm);
    } catch (const std::bad_alloc&) {
        rc = pmrcMemory;  // nothing thrown may cross into the layer
    } catch (const std::exception& e) {
        rc = failWith(e.what());
    }
    cmd->ReturnCode = rc;
    if (rc == pmrcFailure) {
        cmd->ErrText = const_cast<char*>(failureText().c_str());
        cmd->ErrTextLen = static_cast<uint32_t>(failureText().size());
    }
}
