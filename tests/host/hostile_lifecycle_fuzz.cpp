// Fuzz target: one whole lifecycle of the operator (PX_Initiate, the event,
// the rows, both PX_Terminate phases) against a host whose attribute answers
// the input chooses. The first byte picks a restart (from a checkpoint at the
// stream's start); then two bytes a read: the kind of answer (faithful, null
// value, negative or huge length, "Not Found", "Conflict", one byte short) and
// a number that varies it. When the input runs out the host answers
// faithfully, so short inputs reach the rows.
//
// Whatever the answers, nothing may crash, and a lifecycle in which a method
// failed must have raised the exit code to 12 and written an error line.
// Each lifecycle starts from the operator's state at load, as an instance
// process would.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "job/job_file.h"
#include "layer_reset.h"
#include "operator_state.h"
#include "run/instance_driver.h"
#include "shared/checkpoint_store.h"
#include "shared/global_variables.h"

namespace {

namespace fs = std::filesystem;

// The job: instance 1 of 2, a private log (so error lines have somewhere to
// go), a few rows, an OUTMOD that swallows each record and says nothing.
struct Harness {
    fs::path dir;
    fs::path logs;
    buhost::JobDefinition job;
    buhost::GlobalVariables globals;

    Harness() {
        dir = fs::temp_directory_path() / ("bu-hostile-" + std::to_string(getpid()));
        logs = dir / "logs";
        fs::create_directories(logs);
        const fs::path file = dir / "job.toml";
        // The operator is linked in: the job names this program, which
        // stands where a module must, and is never loaded.
        std::ofstream(file) << "[job]\nname = \"hostile\"\ninstances = 2\nlog_dir = \""
                            << logs.string() << "\"\n[operator]\nmodule = \"/proc/self/exe"
                            << "\"\n[attributes]\nPrivateLogName = \"hostile\"\nOUTMODname = \""
                            << BU_SCRIPT_OUTMOD
                            << "\"\n"
                               "[[schema]]\nname = \"id\"\ntype = \"INTEGER\"\n"
                               "[[schema]]\nname = \"name\"\ntype = \"VARCHAR\"\nlength = 12\n"
                               "nullable = true\n"
                               "[[schema]]\nname = \"amount\"\ntype = \"DECIMAL\"\nprecision = 9\n"
                               "scale = 2\n"
                               "[source]\nkind = \"generate\"\nrows = 4\n";
        job = buhost::loadJobFile(file.string(), BU_STAGE_DIR);
    }
    ~Harness() {
        std::error_code ignored;
        fs::remove_all(dir, ignored);
    }

    // Logs are appended to: start each lifecycle with none.
    void clearLogs() {
        for (const auto& entry : fs::directory_iterator(logs)) fs::remove(entry.path());
    }
};

Harness& harness() {
    static Harness h;
    return h;
}

void fail(const char* what, const std::string& detail) {
    std::fprintf(stderr, "hostile lifecycle: %s: %s\n", what, detail.c_str());
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Harness& h = harness();
    h.clearLogs();
    bu::test::resetLayer();
    bu::op::resetOperatorState();

    buhost::InstanceOptions options;
    options.instanceCount = h.job.instances;
    options.restart = size > 0 && (data[0] & 1) != 0;
    // A restart resumes only an instance with a stored checkpoint: one at the
    // stream's start, without a record of the operator's.
    const buhost::CheckpointStore store(h.job.checkpointDir, h.job.name, options.instance);
    if (options.restart) {
        if (!store.save(buhost::StoredCheckpoint{}))
            fail("cannot store a checkpoint", store.path());
    } else {
        store.discard();
    }
    size_t at = 1;
    buhost::HostInstance inst(h.job, options, h.globals);
    inst.attributeAnswers().chooseWith([&] {
        buhost::AnswerChoice c;
        if (at + 2 > size) return c;
        c.kind = static_cast<buhost::AnswerKind>(data[at] % buhost::kAnswerKinds);
        c.detail = data[at + 1];
        at += 2;
        return c;
    });
    inst.openRows();

    OperatorMethodRecord* methods = nullptr;
    if (PX_GetOperatorMethods(&methods) != 0) fail("no method record", "");
    buhost::InstanceSlot slot;
    const std::string failure = buhost::runLifecycle(h.job, *methods, inst, slot, [] {});
    if (!failure.empty()) {
        if (inst.exitCodeSetByOperator() != 12)
            fail("a failed method left the exit code below 12", failure);
        if (inst.errorLines() == 0) fail("a failed method wrote no error line", failure);
    }
    return 0;
}
