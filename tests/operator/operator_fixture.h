// Runs the operator in-process through its method record, against the
// FakeHost and the scriptable OUTMOD.
#ifndef BU_TESTS_OPERATOR_FIXTURE_H
#define BU_TESTS_OPERATOR_FIXTURE_H

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstring>

#include "layer_fixture.h"
#include "operator_state.h"
#include "outmod_protocol.h"
#include "script_outmod.h"

namespace bu::test {

class OperatorTest : public LayerTest {
  protected:
    void SetUp() override {
        LayerTest::SetUp();
        bu::op::resetOperatorState();
        ASSERT_EQ(PX_GetOperatorMethods(&methods), 0);
        module = dlopen(BU_SCRIPT_OUTMOD, RTLD_LAZY);
        ASSERT_NE(module, nullptr) << dlerror();
        auto access = reinterpret_cast<ScriptAccess>(dlsym(module, SCRIPT_ACCESS_SYMBOL));
        ASSERT_NE(access, nullptr);
        script = access();
        std::memset(script, 0, sizeof *script);
        script->storeInLen = 0;  // swallow by default: jobs here name no file
        script->storeOutLen = SCRIPT_LEAVE;
        script->storeReserved = SCRIPT_LEAVE;
        host.setText("OUTMODname", BU_SCRIPT_OUTMOD);
        host.setText("PrivateLogName", "oplog");
        host.columns = {{"id", 5, 4}, {"name", 7, 10}};
    }
    void TearDown() override {
        bu::op::resetOperatorState();
        LayerTest::TearDown();
        if (module != nullptr) dlclose(module);
    }

    int32_t initiate() { return methods->PX_Initiate(host.handle()); }
    int32_t execute() { return methods->PX_Execute(host.handle()); }
    int32_t terminate(int32_t phase) { return methods->PX_Terminate(host.handle(), phase); }

    // The request codes the OUTMOD received, in order.
    std::vector<int32_t> requests() const {
        return std::vector<int32_t>(script->request, script->request + script->calls);
    }

    OperatorMethodRecord* methods = nullptr;
    void* module = nullptr;
    OutmodScript* script = nullptr;
};

}  // namespace bu::test

#endif  // BU_TESTS_OPERATOR_FIXTURE_H
