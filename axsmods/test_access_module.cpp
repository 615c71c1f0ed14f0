// A test Access Module that keeps its files on disk and answers all fourteen
// function codes. Its initialisation string (blank-separated key=value
// words) tells it to misbehave in the ways a real module can:
//
//   block=N        block size asked for at open (default 4096)
//   hdr=N          bytes of block header in front of every block it delivers
//   short=N        deliver at most N data bytes per read
//   overreport     report one byte more than the block size on every read
//   timeout=N      answer 55 (time-out) on the N-th read
//   fail=C:N:R     answer R on the N-th call of function code C
//   errtext=TEXT   text handed out with 34 ('_' stands for a blank)
//   diskfull=N     accept at most N bytes in all; a write beyond that puts
//                  what fits on disk and answers 34 with "disk full"
//   nopos          no positions: 24 for function codes 6 and 7
//
// Unknown words answer 22, a word that isn't key=value 20. The module also
// tells what it was given: the module attribute "CALLS_<code>" gives how
// often a function code was called, "CLIENT_NAME" the client name of the
// initialisation, "INIT_LENGTHS" the lengths of the string's copy and of the
// whole string ("512/600").
// Authors may start from this file; docs/access-module-guide.md explains
// the contract.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "pmddamt.h"

namespace {

constexpr uint32_t kMaxAttrs = 32;

struct Attribute {
    std::string name;
    std::string value;
};

struct OpenFile;

struct Instance {
    uint32_t block = 4096;
    uint16_t header = 0;
    uint32_t shortRead = 0;
    bool overreport = false;
    uint32_t timeoutAt = 0;
    uint32_t failCode = 0, failAt = 0, failRc = 0;
    std::string errText = "test module failure";
    bool diskFullSet = false;
    uint64_t diskFull = 0;
    uint64_t written = 0;
    bool noPositions = false;
    uint32_t calls[15] = {};
    std::vector<OpenFile*> openFiles;
    std::string clientName;
    std::string initLengths;
    Attribute attrs[kMaxAttrs];
    uint32_t attrCount = 0;
};

struct OpenFile {
    Instance* owner;
    FILE* stream;
    int16_t mode;
    uint64_t blockStart;  // offset of the block last delivered
    uint64_t position;    // bytes handed out in Pos_t
    std::string attrName, attrValue;
};

// Error texts must outlive the call: the layer copies them afterwards.
std::string lastText;

template <typename T>
T* fromWord(uint64_t word) {
    return reinterpret_cast<T*>(static_cast<uintptr_t>(word));
}

uint64_t toWord(const void* p) {
    return static_cast<uint64_t>(reinterpret_cast<uintptr_t>(p));
}

uint32_t answerText(CmdBlock_t* cmd, const std::string& text) {
    lastText = text;
    cmd->ErrText = lastText.data();
    cmd->ErrTextLen = static_cast<uint32_t>(lastText.size());
    return pmrcFailure;
}

uint32_t parseInit(Instance& in, std::string_view text) {
    while (!text.empty()) {
        size_t start = text.find_first_not_of(' ');
        if (start == std::string_view::npos) break;
        text.remove_prefix(start);
        size_t end = text.find(' ');
        std::string word(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end);
        if (word == "overreport") {
            in.overreport = true;
            continue;
        }
        if (word == "nopos") {
            in.noPositions = true;
            continue;
        }
        size_t eq = word.find('=');
        if (eq == std::string::npos || eq == 0) return pmrcInitSyntax;
        std::string key = word.substr(0, eq), value = word.substr(eq + 1);
        unsigned long n = std::strtoul(value.c_str(), nullptr, 10);
        if (key == "block") {
            if (n == 0) return pmrcInitCmdOption;
            in.block = static_cast<uint32_t>(n);
        } else if (key == "hdr") {
            in.header = static_cast<uint16_t>(n);
        } else if (key == "short") {
            in.shortRead = static_cast<uint32_t>(n);
        } else if (key == "timeout") {
            in.timeoutAt = static_cast<uint32_t>(n);
        } else if (key == "fail") {
            if (std::sscanf(value.c_str(), "%u:%u:%u", &in.failCode, &in.failAt, &in.failRc) != 3) {
                return pmrcInitSyntax;
            }
        } else if (key == "errtext") {
            for (char& c : value) c = c == '_' ? ' ' : c;
            in.errText = value;
        } else if (key == "diskfull") {
            in.diskFullSet = true;
            in.diskFull = n;
        } else {
            return pmrcInitCmdOption;
        }
    }
    return in.header >= in.block ? pmrcInitCmdOption : pmrcOK;
}

uint32_t doOpen(Instance& in, Open_t* b) {
    std::string name(b->FName, b->FNameLen);
    const char* mode = b->OpenMode == pmOpenRead     ? "rb"
                       : b->OpenMode == pmOpenWrite  ? "wb"
                       : b->OpenMode == pmOpenUpdate ? "rb+"
                                                     : nullptr;
    if (mode == nullptr) return pmrcBadMode;
    FILE* f = std::fopen(name.c_str(), mode);
    if (f == nullptr && b->OpenMode == pmOpenUpdate) f = std::fopen(name.c_str(), "wb+");
    if (f == nullptr) return errno == ENOENT ? pmrcNoFile : pmrcFailure;
    auto* file = new OpenFile{&in, f, b->OpenMode, 0, 0, {}, {}};
    b->FIData = toWord(file);
    b->BufferSize = in.block;
    b->BlkHeaderLen = in.header;
    in.openFiles.push_back(file);
    if (b->OpenMode == pmOpenUpdate) std::fseek(f, 0, SEEK_END);
    if (b->OpenMode == pmOpenRead) {
        std::fseek(f, 0, SEEK_END);
        long size = std::ftell(f);
        std::fseek(f, 0, SEEK_SET);
        if (size == 0) return pmrcEmptyFile;
    }
    return pmrcOK;
}

int closeFile(OpenFile* file) {
    auto& open = file->owner->openFiles;
    std::erase(open, file);
    int rc = std::fclose(file->stream);
    delete file;
    return rc;
}

uint32_t doClose(Close_t* b) {
    OpenFile* file = fromWord<OpenFile>(b->FIData);
    if (file == nullptr) return pmrcBadParm;
    return closeFile(file) == 0 ? pmrcOK : pmrcFailure;
}

// A shut releases the files still open too: the layer forgets a file whose
// close was refused, and nobody else will ever close it.
void shutInstance(Instance* in) {
    while (!in->openFiles.empty()) closeFile(in->openFiles.back());
    delete in;
}

uint32_t doRead(Instance& in, RW_t* b) {
    OpenFile* file = fromWord<OpenFile>(b->FIData);
    if (in.timeoutAt != 0 && in.calls[pmfcRead] == in.timeoutAt) return pmrcTimeOut;
    uint32_t room = in.block - in.header;
    if (in.shortRead != 0 && in.shortRead < room) room = in.shortRead;
    file->blockStart = static_cast<uint64_t>(std::ftell(file->stream));
    size_t got = std::fread(b->Buffer + in.header, 1, room, file->stream);
    if (got == 0) {
        b->Length = 0;
        return std::ferror(file->stream) ? pmrcFailure : pmrcEOF;
    }
    // The header carries the data length, as a real block header might.
    for (uint16_t i = 0; i < in.header; ++i) b->Buffer[i] = static_cast<uint8_t>('H' + (i % 2));
    b->Length = static_cast<uint32_t>(in.header + got);
    if (in.overreport) b->Length = in.block + 1;
    return pmrcOK;
}

uint32_t doWrite(Instance& in, CmdBlock_t* cmd, RW_t* b) {
    OpenFile* file = fromWord<OpenFile>(b->FIData);
    uint64_t take = b->Length;
    bool full = false;
    if (in.diskFullSet && in.written + take > in.diskFull) {
        take = in.diskFull - in.written;
        full = true;
    }
    size_t put = std::fwrite(b->Buffer, 1, take, file->stream);
    in.written += put;
    std::fflush(file->stream);
    if (full) return answerText(cmd, "disk full");
    return put == take ? pmrcOK : pmrcFailure;
}

uint32_t doGetPos(Instance& in, Pos_t* b) {
    if (in.noPositions) return pmrcUnsupported;
    OpenFile* file = fromWord<OpenFile>(b->FIData);
    file->position = file->mode == pmOpenRead ? file->blockStart
                                              : static_cast<uint64_t>(std::ftell(file->stream));
    b->Data = &file->position;
    b->Length = sizeof file->position;
    return pmrcOK;
}

uint32_t doSetPos(Instance& in, Pos_t* b) {
    if (in.noPositions) return pmrcUnsupported;
    OpenFile* file = fromWord<OpenFile>(b->FIData);
    if (b->Length != sizeof(uint64_t) || b->Data == nullptr) return pmrcBadPosLength;
    uint64_t at = 0;
    std::memcpy(&at, b->Data, sizeof at);
    if (std::fseek(file->stream, static_cast<long>(at), SEEK_SET) != 0) return pmrcFailure;
    // A file being written loses what an interrupted run wrote behind it.
    if (file->mode != pmOpenRead && ::ftruncate(fileno(file->stream), static_cast<off_t>(at)) != 0)
        return pmrcFailure;
    return pmrcOK;
}

uint32_t getModuleAttr(Instance& in, Attr_t* b) {
    std::string name(b->Name, b->NameLen);
    std::string value;
    if (name == "CLIENT_NAME") {
        value = in.clientName;
    } else if (name == "INIT_LENGTHS") {
        value = in.initLengths;
    } else if (name.rfind("CALLS_", 0) == 0) {
        unsigned long code = std::strtoul(name.c_str() + 6, nullptr, 10);
        if (code < 1 || code > 14) return pmrcUnknownAttr;
        value = std::to_string(in.calls[code]);
    } else {
        uint32_t i = 0;
        while (i < in.attrCount && in.attrs[i].name != name) ++i;
        if (i == in.attrCount) return pmrcUnknownAttr;
        value = in.attrs[i].value;
    }
    b->ValueLen = static_cast<uint32_t>(value.size());
    std::memcpy(b->Value, value.data(), value.size());
    return pmrcOK;
}

uint32_t putModuleAttr(Instance& in, Attr_t* b) {
    if (!in.openFiles.empty()) return pmrcAttrAfterOpen;
    std::string name(b->Name, b->NameLen);
    std::string value(b->Value, b->ValueLen);
    if (name == "TIMEOUT_SECONDS" && std::strtol(value.c_str(), nullptr, 10) < 1) {
        return pmrcBadAttrValue;
    }
    uint32_t i = 0;
    while (i < in.attrCount && in.attrs[i].name != name) ++i;
    if (i == in.attrCount) {
        if (in.attrCount == kMaxAttrs) return pmrcMemory;
        ++in.attrCount;
    }
    in.attrs[i] = {name, value};
    return pmrcOK;
}

uint32_t fileAttr(Attr_t* b, bool put) {
    OpenFile* file = fromWord<OpenFile>(b->Data);
    std::string name(b->Name, b->NameLen);
    if (put) {
        file->attrName = name;
        file->attrValue.assign(b->Value, b->ValueLen);
        return pmrcOK;
    }
    if (file->attrName.empty() || name != file->attrName) return pmrcUnknownAttr;
    b->ValueLen = static_cast<uint32_t>(file->attrValue.size());
    std::memcpy(b->Value, file->attrValue.data(), file->attrValue.size());
    return pmrcOK;
}

uint32_t initInstance(Init_t* b) {
    auto* in = new Instance;
    std::string_view text(b->InitStrFull ? b->InitStrFull : "", b->InitStrFullLen);
    uint32_t rc = parseInit(*in, text);
    if (rc != pmrcOK) {
        delete in;
        return rc;
    }
    in->calls[pmfcInit] = 1;
    in->clientName.assign(b->ClientName, strnlen(b->ClientName, sizeof b->ClientName));
    in->initLengths = std::to_string(b->InitStrLen) + "/" + std::to_string(b->InitStrFullLen);
    b->PIData = toWord(in);
    return pmrcOK;
}

Instance* instanceOf(uint32_t code, void* parm) {
    switch (code) {
        case pmfcOpen:
            return fromWord<Instance>(static_cast<Open_t*>(parm)->PIData);
        case pmfcShut:
            return fromWord<Instance>(static_cast<Shut_t*>(parm)->PIData);
        case pmfcGetModuleAttr:
        case pmfcPutModuleAttr:
            return fromWord<Instance>(static_cast<Attr_t*>(parm)->Data);
        case pmfcClose:
        case pmfcCloseRestart:
            return fromWord<OpenFile>(static_cast<Close_t*>(parm)->FIData)->owner;
        case pmfcRead:
        case pmfcWrite:
            return fromWord<OpenFile>(static_cast<RW_t*>(parm)->FIData)->owner;
        case pmfcGetPos:
        case pmfcSetPos:
            return fromWord<OpenFile>(static_cast<Pos_t*>(parm)->FIData)->owner;
        case pmfcGetFileAttr:
        case pmfcPutFileAttr:
            return fromWord<OpenFile>(static_cast<Attr_t*>(parm)->Data)->owner;
        default:
            return nullptr;
    }
}

uint32_t dispatch(CmdBlock_t* cmd, Instance& in, void* parm) {
    switch (cmd->FuncCode) {
        case pmfcOpen:
            return doOpen(in, static_cast<Open_t*>(parm));
        case pmfcClose:
        case pmfcCloseRestart:
            return doClose(static_cast<Close_t*>(parm));
        case pmfcRead:
            return doRead(in, static_cast<RW_t*>(parm));
        case pmfcWrite:
            return doWrite(in, cmd, static_cast<RW_t*>(parm));
        case pmfcGetPos:
            return doGetPos(in, static_cast<Pos_t*>(parm));
        case pmfcSetPos:
            return doSetPos(in, static_cast<Pos_t*>(parm));
        case pmfcShut:
            shutInstance(&in);
            return pmrcOK;
        case pmfcGetModuleAttr:
            return getModuleAttr(in, static_cast<Attr_t*>(parm));
        case pmfcPutModuleAttr:
            return putModuleAttr(in, static_cast<Attr_t*>(parm));
        case pmfcGetFileAttr:
            return fileAttr(static_cast<Attr_t*>(parm), false);
        case pmfcPutFileAttr:
            return fileAttr(static_cast<Attr_t*>(parm), true);
        default:
            return pmrcUnsupported;
    }
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void PIDMMain(void* Cmd, void* Parm) noexcept {
    auto* cmd = static_cast<CmdBlock_t*>(Cmd);
    if (cmd->FuncCode == pmfcInit) {
        cmd->ReturnCode = initInstance(static_cast<Init_t*>(Parm));
        return;
    }
    if (cmd->FuncCode == pmfcID) {
        auto* b = static_cast<ID_t*>(Parm);
        std::snprintf(b->Version.Name, sizeof b->Version.Name, "%s", "TESTAXSM");
        std::snprintf(b->Version.Version, sizeof b->Version.Version, "%s", "01.00.00.00");
        cmd->ReturnCode = pmrcOK;
        return;
    }
    Instance* in = instanceOf(cmd->FuncCode, Parm);
    if (in == nullptr) {
        cmd->ReturnCode = cmd->FuncCode > 14 ? pmrcUnsupported : pmrcBadParm;
        return;
    }
    uint32_t nth = ++in->calls[cmd->FuncCode];
    if (in->failCode == cmd->FuncCode && in->failAt == nth) {
        // The refused request leaves the instance as it was: a refused shut
        // keeps it alive for the next one.
        cmd->ReturnCode = in->failRc == pmrcFailure ? answerText(cmd, in->errText) : in->failRc;
        return;
    }
    cmd->ReturnCode = dispatch(cmd, *in, Parm);
}
