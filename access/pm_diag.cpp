// pmDiag: the layer's records printed on standard output, for diagnosis by
// hand.
#include <cstdio>

#include "pm_layer.h"

namespace {

unsigned addr(const void* p) {
    return static_cast<unsigned>(reinterpret_cast<uintptr_t>(p));
}

void printParamod(const Paramod* m) {
    std::printf("--Paramod struct at address x'%08x':\n", addr(m));
    std::printf("  MMToken=%d\n", static_cast<int>(m->MMToken));
    std::printf("  TraceLvl=%d\n", static_cast<int>(m->TraceLvl));
    std::printf("  NameLen=%d\n", static_cast<int>(m->NameLen));
    std::printf("  Name=%.*s\n", static_cast<int>(m->NameLen), m->Name);
    std::printf("  InitStrLen=%d\n", static_cast<int>(m->InitStrLen));
    std::printf("  InitStr=%.*s\n", static_cast<int>(m->InitStr ? m->InitStrLen : 0),
                m->InitStr ? m->InitStr : "");
    std::printf("  pmIPCHandle=x'%08x'\n", addr(reinterpret_cast<const void*>(m->pmIPCHandle)));
    std::printf("  PIData=x'%08x'\n", static_cast<unsigned>(m->PIData));
    std::printf("  PIDM_LIB_pointer=x'%08x'\n", addr(m->PIDM_LIB_pointer));
    std::printf("  FirstFile=x'%08x'\n", addr(m->FirstFile));
    std::printf("  PrevFile=x'%08x'\n", addr(m->PrevFile));
    std::printf("  Next=x'%08x'\n", addr(m->Next));
}

void printFile(const FileInfo* f) {
    std::printf("--File struct at address x'%08x':\n", addr(f));
    std::printf("  MMToken=%d\n", static_cast<int>(f->MMToken));
    std::printf("  TraceLvl=%d\n", static_cast<int>(f->TraceLvl));
    std::printf("  Format=%d\n", static_cast<int>(f->Format));
    std::printf("  OpenMode=%d\n", static_cast<int>(f->OpenMode));
    std::printf("  LRecl=%d\n", static_cast<int>(f->LRecl));
    std::printf("  FIData=x'%08x'\n", static_cast<unsigned>(f->FIData));
    std::printf("  BufferSize=%llu\n", static_cast<unsigned long long>(f->BufferSize));
    std::printf("  BufferPosition=%llu\n", static_cast<unsigned long long>(f->BufferPosition));
    std::printf("  BufferEnd=%llu\n", static_cast<unsigned long long>(f->BufferEnd));
    std::printf("  Buffer=x'%08x'\n", addr(f->Buffer));
    std::printf("  FName=%s\n", f->FName);
    std::printf("  FNameLen=%d\n", static_cast<int>(f->FNameLen));
    std::printf("  Position.Length=%d\n", static_cast<int>(f->Position.Length));
    std::printf("  FmtRead=x'%08x'\n", addr(reinterpret_cast<const void*>(f->FmtRead)));
    std::printf("  FmtWrite=x'%08x'\n", addr(reinterpret_cast<const void*>(f->FmtWrite)));
    std::printf("  PPtr=x'%08x'\n", addr(f->PPtr));
    std::printf("  Next=x'%08x'\n", addr(f->Next));
}

// A record behind a token, or null; says when its own token disagrees.
template <typename T>
T* lookUp(uint32_t token, const char* invalid, const char* corrupt) {
    auto* record = static_cast<T*>(pmGetMemA(token));
    if (record == nullptr) {
        std::printf("%s\n", invalid);
        return nullptr;
    }
    if (record->MMToken != token) std::printf("%s\n", corrupt);
    return record;
}

constexpr const char* kBadParamod = "!! Paramod token is invalid !!";
constexpr const char* kCorruptParamod = "!! Corrupt paramod structure, MMTokens don't match !!";

}  // namespace

extern "C" uint32_t pmDiag(uint32_t Request, uint32_t* Token) noexcept {
    uint32_t token = Token ? *Token : 0;
    std::printf("Paramod Diagnostics: Request %d, Handle=%d =>\n", static_cast<int>(Request),
                static_cast<int>(token));
    uint32_t rc = pmrcOK;
    switch (Request) {
        case 1: {
            std::printf("dump entire paramod linked list\n");
            std::printf("SG_Paramod_1st=x'%08x', SG_Paramod_last=x'%08x'\n", addr(SG_Paramod_1st),
                        addr(SG_Paramod_last));
            int n = 0;
            for (Paramod* m = SG_Paramod_1st; m != nullptr; m = m->Next, ++n) printParamod(m);
            std::printf(">>Number of paramods connected=%d\n", n);
            break;
        }
        case 2: {
            std::printf("dump single paramod struct\n");
            auto* m = lookUp<Paramod>(token, kBadParamod, kCorruptParamod);
            if (m == nullptr) {
                rc = pmrcBadHandle;
                break;
            }
            printParamod(m);
            break;
        }
        case 3: {
            std::printf("dump entire file linked list\n");
            auto* m = lookUp<Paramod>(token, kBadParamod, kCorruptParamod);
            if (m == nullptr) {
                rc = pmrcBadHandle;
                break;
            }
            int n = 0;
            for (FileInfo* f = m->FirstFile; f != nullptr; f = f->Next, ++n) printFile(f);
            std::printf(">>Number of files connected=%d\n", n);
            break;
        }
        case 4: {
            std::printf("dump file struct for single file\n");
            auto* f = lookUp<FileInfo>(token, "!! File token is invalid !!",
                                       "!! Corrupt file structure, MMTokens don't match !!");
            if (f == nullptr) {
                rc = pmrcBadFp;
                break;
            }
            printFile(f);
            break;
        }
        case 5:
            std::printf("dump MM table\n");
            std::fflush(stdout);
            pmMMDiag(0);
            break;
        default:
            std::printf("you need help.  Request codes are;\n");
            std::printf("1: dump entire paramod linked list\n");
            std::printf("2: dump single paramod struct\n");
            std::printf("3: dump entire file linked list for indicated paramod\n");
            std::printf("4: dump file struct for single file\n");
            std::printf("5: dump Memory Management table\n");
            rc = pmrcBadParm;
            break;
    }
    std::fflush(stdout);
    return rc;
}
