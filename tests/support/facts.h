// What the exports tell about a job, as single facts: each is about something by its own
// name ("point 9", "feature of point 9"), wherever it was handed out. So what a damaged
// or failing file answers can be held against what the sound one does.
#pragma once

#include "api/orvIdx.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

using Facts = std::set<std::pair<std::string, std::string>>; // what about, and what is told

// What an element consists of is a fact as well, about "parts of" it.
constexpr char PARTS[] = "parts of ";

// The facts in an element: its own and those of the elements it is made of.
Facts factsOf(uint32_t kind, const void* element);

// All facts of a job: every kind is walked, and read by the names of its list. Of a job
// that does not open there are none. What must never be, such as a walk that does not end,
// is told about the subject "fault".
Facts factsOfJob(const std::string& path);

// True when there is a fact about the subject.
bool tells(const Facts& facts, const std::string& subject);

// An entry with data of a record, and the subjects that it is needed for.
struct StoredData {
    size_t at;
    size_t size;
    std::set<std::string> subjects;
};

// A sound job in which reading writes nothing.
struct SoundJob {
    std::string bytes;
    Facts facts;
    std::vector<StoredData> data;
};

// Learns about a job, which lies at a path and is damaged there meanwhile.
SoundJob learnJob(const std::string& path);

// What a damaged copy of the same length tells something wrong about: something else than
// the sound job does, though it is not what stands in a record whose own bytes have
// changed. What is missing is no fault. Empty when all is right.
std::string wrongFact(const SoundJob& sound, const std::string& damaged, const Facts& told);
