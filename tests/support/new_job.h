// A new job to which a test adds records, and which it then reads through the exports.
#pragma once

#include "tests/support/connection.h"
#include "tests/support/raw_job.h"
#include "tools/writer/job_writer.h"

#include <optional>

struct NewJob {
    const std::string path = writeEmptyJob(4);
    JobWriter writer;
    std::optional<Connection> job;

    explicit NewJob(char mode = OPEN_EXCLUSIVE)
    {
        EXPECT_EQ(openJobWriter(&writer, path, mode), IX_OK);
    }
    // Ends the writing.
    IdxConnection* connect()
    {
        EXPECT_EQ(closeJobWriter(&writer), IX_OK);
        return job.emplace(path);
    }
};
