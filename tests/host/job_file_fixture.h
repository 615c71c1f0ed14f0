// A fixture for tests that write a job file into a scratch folder and load
// it, or read the one-line error that loading it gives.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "host_test_support.h"
#include "job/job_file.h"

namespace buhost {

class JobFileFixture : public ::testing::Test {
  protected:
    hosttest::TempDir dir;

    JobDefinition load(const std::string& text) {
        std::filesystem::create_directories(dir / "logs");
        hosttest::writeFile(dir / "job.toml", text);
        return loadJobFile(dir / "job.toml", hosttest::stageDir());
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
