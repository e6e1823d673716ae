// Writes new job databases, record by record through the record layer: for tests,
// benchmarks and sample files. The library itself never creates one.
//
// Boundary for tools/, tests/ and bench/. Records pass through the process-wide
// variables of the layouts, so nothing else may be reading records meanwhile.
//
// The add functions answer IX_OK or the failing operation's code (format/results.h);
// what was added before the failure stays. Names are taken as they are; texts must
// fit their fields (IX_TEXT_TOO_LONG). The name members of results and records do
// not count.
#pragma once

#include "cogo/cogo.h"
#include "cogo/vertical_curves.h"
#include "survey/survey.h"

#include <string>

constexpr int JOB_WRITER_BUFFER_SIZE = 16384; // as large an image as readers accept

// An open job that is being written. Not to be moved: the job refers to its buffer.
struct JobWriter {
    RecordFile file = {};
    uint8_t recordBuffer[JOB_WRITER_BUFFER_SIZE] = {};
};

// Creates a file with an empty root leaf and some pages not handed out yet. False
// when the file is there already, which leaves it as it is, or cannot be written,
// which leaves none; errno then tells why.
bool createEmptyJob(const std::string& path, int sparePages = 0);

// Open and close a job for writing: OPEN_EXCLUSIVE, or OPEN_SHARED when others may
// use it at the same time. recordOpen's and recordClose's answers.
int openJobWriter(JobWriter* job, const std::string& path, char mode);
int closeJobWriter(JobWriter* job);

// A point and, with a feature text, its feature record. SPLIT_... for a name that no
// point can have; IX_TEXT_TOO_LONG for a number of more than eight characters.
int addPoint(JobWriter* job, const char* name, const PointRecord& record,
             const char* featureText = nullptr);

int addCurve(JobWriter* job, const char* name, const CurveResult& curve);
int addSpiral(JobWriter* job, const char* name, const SpiralResult& spiral);

// A line, whose number, code and note stand in its extension record, if any.
int addLine(JobWriter* job, const char* name, const LineResult& line,
            const ExtensionResult* extension = nullptr);

// A chain with as many continuations as the description needs; it may be as long as
// a chain and all its continuations hold (IX_TEXT_TOO_LONG). Of attributes the
// element number, the secondary code and the note text are taken.
int addChain(JobWriter* job, const char* name, const std::string& description,
             const ChainResult& attributes);
// One record of a chain: member 0 is the chain itself, 1 to CHAIN_CONTINUATIONS are
// its continuations, of which none need be there.
int addChainMember(JobWriter* job, const char* name, int member, const std::string& share,
                   const ChainResult& attributes);
// A chain as older programs wrote it, in one record of the older layout.
int addOlderChain(JobWriter* job, const char* name, const std::string& description,
                  const ChainResult& attributes);

// A profile: its header record, data records in the order of the entries, and an
// extension record, if any.
int addProfile(JobWriter* job, const char* name, const ProfileEntry* entries, int entryCount,
               const ExtensionResult* extension = nullptr);

// The counter of element numbers: the highest one that was handed out.
int addVersionCounter(JobWriter* job, int32_t counter);

// A survey chain with its point list and, with a feature text, its feature record.
int addSurveyChain(JobWriter* job, const char* name, const SurveyChainRecord& record,
                   const std::string& pointList, const char* featureText = nullptr);
