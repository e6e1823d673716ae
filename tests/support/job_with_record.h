// A job of the engine's tests, open through the record layer.
#pragma once

#include "engine/engine.h"
#include "records/records.h"
#include "tests/support/raw_job.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// An open job, and a record in it: a text that is a unique key, and a number.
struct Job {
    const std::string path;
    RecordFile file = {};
    std::vector<uint8_t> recordBuffer;
    char text[301] = "K";
    double number = 2.5;
    LayoutEntry layout[3] = {{'S', 'S', 'U', 301, 5, text, 301},
                             {'D', 'N', 'N', 8, 0, &number, 8},
                             {'E', 0, 0, 0, 0, nullptr, 0}};

    explicit Job(const std::string& bytes, char mode = OPEN_SHARED)
        : path(writeJob(bytes)), recordBuffer(16384)
    {
        open(mode);
    }
    ~Job() { EXPECT_EQ(recordClose(&file), IX_OK); }
    void open(char mode)
    {
        int room = static_cast<int>(recordBuffer.size());
        EXPECT_EQ(recordOpen(&file, path.c_str(), recordBuffer.data(), room, mode), IX_OK);
    }
    int find(int index, const char* key, int32_t n = 1)
    {
        return ixFind(&file.tree, index, key, n, nullptr, 0);
    }
    int findRecord() { return recordFind(&file, 5, text, MATCH_EXACT); }
};
