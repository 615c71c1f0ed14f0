// The dynamic symbol table of the staged libbuoutop.so holds the exported C
// interface and nothing else: every function belongs to one of the exported
// families, no C++ symbol leaks, the entry points the host and other modules
// look up are there, and every exported global a job changes is in a table
// of globals that puts it back.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "layer_globals.h"
#include "operator_state.h"

namespace {

struct Symbol {
    char type;
    std::string name;
};

std::vector<Symbol> dynamic_symbols(const std::string& object) {
    std::vector<Symbol> symbols;
    const std::string command = "nm -D --defined-only '" + object + "'";
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    if (!pipe) return symbols;
    std::array<char, 512> line{};
    while (fgets(line.data(), line.size(), pipe.get())) {
        char type = 0;
        std::array<char, 400> name{};
        unsigned long long address = 0;
        if (sscanf(line.data(), "%llx %c %399s", &address, &type, name.data()) == 3) {
            symbols.push_back({type, name.data()});
        }
    }
    return symbols;
}

bool is_function(char type) {
    return type == 'T' || type == 'W' || type == 'i';
}
bool is_variable(char type) {
    return type == 'B' || type == 'D' || type == 'G' || type == 'S';
}

// Function families of the exported interface, plus the named helpers listed
// in exported_helpers.txt beside this test.
std::set<std::string> exported_helpers() {
    std::set<std::string> names;
    std::ifstream in(std::string(BU_SOURCE_DIR) + "/tests/boundary/exported_helpers.txt");
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty() && line[0] != '#') names.insert(line);
    }
    return names;
}

bool in_exported_family(std::string_view name) {
    constexpr std::string_view prefixes[] = {"PX_",     "DC_", "dc",        "pm",   "LD_", "NU_",
                                             "mp_int_", "px_", "HxClient_", "trce", "TRCE"};
    for (auto prefix : prefixes) {
        if (name.substr(0, prefix.size()) == prefix) return true;
    }
    static const std::set<std::string> helpers = exported_helpers();
    return helpers.count(std::string(name)) != 0;
}

class ExportedSymbols : public ::testing::Test {
  protected:
    void SetUp() override {
        symbols_ = dynamic_symbols(std::string(BU_STAGE_DIR) + "/lib64/libbuoutop.so");
        ASSERT_FALSE(symbols_.empty()) << "nm found no dynamic symbols in the staged operator";
    }
    bool exported(std::string_view name) const {
        for (const auto& s : symbols_) {
            if (s.name == name) return true;
        }
        return false;
    }
    std::vector<Symbol> symbols_;
};

TEST_F(ExportedSymbols, NoCppSymbolAndOnlyFunctionsOfTheExportedFamilies) {
    for (const auto& s : symbols_) {
        EXPECT_NE(s.name.rfind("_Z", 0), 0u) << s.name;
        EXPECT_TRUE(!is_function(s.type) || in_exported_family(s.name)) << s.name;
    }
}

TEST_F(ExportedSymbols, EntryPointsAreExported) {
    for (auto name : {"PX_GetOperatorMethods", "PX_Initiate", "PX_Execute", "PX_Terminate",
                      "PX_Checkpoint", "PX_Restart", "PX_Event", "pmBuffer", "pmfp"}) {
        EXPECT_TRUE(exported(name)) << name;
    }
}

TEST_F(ExportedSymbols, EveryExportedVariableIsInATableOfGlobals) {
    std::set<std::string> listed;
    for (const auto& global : bu::dc::layerGlobals()) listed.insert(global.name);
    for (const auto& global : bu::op::operatorGlobals()) listed.insert(global.name);
    // Left out on purpose: the access layer's own state, which pmShutDown
    // puts back, and its multi-reader feature, which this operator never
    // sets; the bound Unicode library, kept for the process; the OUTMOD's
    // buffers, whose bytes matter within one call.
    const std::set<std::string> leftOut = {"TLGlobalPtr",
                                           "SG_Paramod_1st",
                                           "SG_Paramod_last",
                                           "bParallelReadMaster",
                                           "bParallelReadSlave",
                                           "pSMmaster",
                                           "pDB",
                                           "ReadyIndex",
                                           "bAltPreadBufferReady",
                                           "PreadFp",
                                           "hxicuLibHandle",
                                           "OutmodInBuffer",
                                           "OutmodOutBuffer"};
    for (const auto& s : symbols_) {
        // The sanitizer's markers of each global stand beside them.
        if (!is_variable(s.type) || s.name.rfind("__odr_asan", 0) == 0) continue;
        EXPECT_TRUE(listed.count(s.name) != 0 || leftOut.count(s.name) != 0)
            << s.name << " is exported but in no table of globals";
    }
}

}  // namespace
