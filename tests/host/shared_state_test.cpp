// The limits of the global variables' region; checkpoint files are written
// whole or not at all, and damage is noticed.
#include <gtest/gtest.h>
#include <cstring>

#include "job/job_definition.h"
#include "px_boundary.h"
#include "shared/checkpoint_store.h"
#include "shared/global_variables.h"
#include "test_files.h"

namespace buhost {
namespace {

// The services' argument checks are the service probe's golden report, and
// the instances' barrier shows writes crossing processes; these are the
// region's own limits.
TEST(GlobalVariables, NamesAndTheRegionHaveLimitsAndShortWritesClearTheRest) {
    GlobalVariables globals;
    void* value = nullptr;
    int32_t length = 0;
    EXPECT_EQ(globals.create("", 4, 1), PXSTC_InvalidName);
    EXPECT_EQ(globals.create(std::string(64, 'x').c_str(), 4, 1), PXSTC_InvalidName);
    EXPECT_EQ(globals.create("W", -1, 2), PXSTC_InvalidArgument);
    ASSERT_EQ(globals.create("V", 8, 2), PXSTC_Success);
    EXPECT_EQ(globals.write("V", "abcdefgh", 8, 1), PXSTC_Success);
    EXPECT_EQ(globals.write("V", "xy", 2, 1), PXSTC_Success);
    ASSERT_EQ(globals.read("V", 1, &value, &length), PXSTC_Success);
    EXPECT_EQ(std::string(static_cast<char*>(value), 8), std::string("xy\0\0\0\0\0\0", 8));
    EXPECT_EQ(globals.remove("V"), PXSTC_Success);
    EXPECT_EQ(globals.remove("V"), PXSTC_NotFound);
    EXPECT_EQ(globals.create("Big", 1 << 20, 2), PXSTC_Full);
    for (int i = 0; i < GlobalVariables::kMaxVariables; ++i)
        ASSERT_EQ(globals.create(("V" + std::to_string(i)).c_str(), 4, 1), PXSTC_Success);
    EXPECT_EQ(globals.create("OneMore", 4, 1), PXSTC_Full);
}

StoredCheckpoint checkpointOf(uint64_t position, const std::string& record) {
    StoredCheckpoint c;
    c.position = position;
    c.hasRecord = true;
    c.record.assign(record.begin(), record.end());
    return c;
}

TEST(CheckpointStore, TheNewestPositionAndRecordComeBack) {
    testsupport::TempDir dir;
    CheckpointStore store(dir.path(), "job", 2);
    EXPECT_FALSE(store.load().has_value());
    ASSERT_TRUE(store.save(checkpointOf(10, "first")));
    ASSERT_TRUE(store.save(checkpointOf(20, "second!")));
    auto got = store.load();
    ASSERT_TRUE(got.has_value());
    EXPECT_EQ(got->position, 20u);
    EXPECT_TRUE(got->hasRecord);
    EXPECT_EQ(std::string(got->record.begin(), got->record.end()), "second!");
    EXPECT_FALSE(std::filesystem::exists(store.path() + ".tmp"));
    store.discard();
    EXPECT_FALSE(store.load().has_value());

    // A position without record is not an empty record.
    StoredCheckpoint none;
    none.position = 7;
    ASSERT_TRUE(store.save(none));
    got = store.load();
    ASSERT_TRUE(got.has_value());
    EXPECT_EQ(got->position, 7u);
    EXPECT_FALSE(got->hasRecord);
    ASSERT_TRUE(store.save(checkpointOf(8, "")));
    EXPECT_TRUE(store.load()->hasRecord);
}

TEST(CheckpointStore, ADamagedOrForeignFileIsRefusedAndAnUnwritableFolderFailsTheSave) {
    testsupport::TempDir dir;
    CheckpointStore store(dir.path(), "job", 1);
    ASSERT_TRUE(store.save(checkpointOf(3, "record")));
    const std::string good = testsupport::readFile(store.path());
    for (size_t at : {size_t{8}, size_t{16}, good.size() - 1}) {
        std::string bytes = good;
        bytes[at] ^= 1;  // flags, position, record
        testsupport::writeFile(store.path(), bytes);
        EXPECT_THROW(store.load(), JobError) << "byte " << at;
    }
    testsupport::writeFile(store.path(), good.substr(0, 10));
    EXPECT_THROW(store.load(), JobError);
    testsupport::writeFile(store.path(), "something else entirely, long enough");
    EXPECT_THROW(store.load(), JobError);
    CheckpointStore nowhere("/nonexistent-folder-of-buhost", "job", 1);
    EXPECT_FALSE(nowhere.save(checkpointOf(1, "x")));
}

}  // namespace
}  // namespace buhost
