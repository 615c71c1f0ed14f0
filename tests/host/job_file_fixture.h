// A fixture for tests that write a job file into a scratch folder and load
// it, or read the one-line error that loading it gives.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "job/job_file.h"
#include "test_files.h"

namespace buhost {

class JobFileFixture : public ::testing::Test {
  protected:
    testsupport::TempDir dir;

    JobDefinition load(const std::string& text) {
        std::filesystem::create_directories(dir / "logs");
        testsupport::writeFile(dir / "job.toml", text);
        return loadJobFile(dir / "job.toml", BU_STAGE_DIR);
    }

    // The error text of loading `text`, or "" when it loaded.
    std::string errorOf(const std::string& text) {
        try {
            load(text);
        } catch (const JobError& e) {
            return e.what();
        }
        return "";
    }
};

}  // namespace buhost
