// Writes new job databases, record by record through the record layer: for tests,
// benchmarks and sample files. The library itself never creates one.
//
// Boundary of tools/writer/, for tools/, tests/ and bench/. It has no state of its own: records
// pass through the process-wide variables of the layouts, so nothing else may be reading records
// meanwhile.
//
// The add functions return IX_OK or the failing operation's code (format/results.h);
// what was added before the failure stays. Names are taken as they are; texts must
// fit their fields (IX_TEXT_TOO_LONG). The name members of results and records do
// not count.
#pragma once

#include "cogo/cogo.h"
#include "cogo/vertical_curves.h"
#include "survey/survey.h"

#include <string>
#include <vector>

constexpr int JOB_WRITER_BUFFER_SIZE = 16384; // as large an image as readers accept

// An open job that is being written. Not to be moved: the records refer to the buffer.
struct JobWriter {
    RecordFile records = {};
    uint8_t recordBuffer[JOB_WRITER_BUFFER_SIZE] = {};
};

// The bytes of a job with an empty root leaf, to which records can be added.
std::vector<uint8_t> emptyJobBytes();

// Open and close a job for writing: OPEN_EXCLUSIVE, or OPEN_SHARED when others may
// use it at the same time. They return as recordOpen and recordClose.
int openJobWriter(JobWriter* job, const std::string& path, char mode);
int closeJobWriter(JobWriter* job);

// Adds a point and, with a feature text, its feature record. Returns SPLIT_... for a name that
// no point can have, IX_TEXT_TOO_LONG for a number of more than eight characters.
int addPoint(JobWriter* job, const char* name, const PointRecord& record,
             const char* featureText = nullptr);

// Adds a survey chain with its point list and, with a feature text, its feature record.
int addSurveyChain(JobWriter* job, const char* name, const SurveyChainRecord& record,
                   const std::string& pointList, const char* featureText = nullptr);

int addCurve(JobWriter* job, const char* name, const CurveResult& curve);
int addSpiral(JobWriter* job, const char* name, const SpiralResult& spiral);

// Adds a line and, if there is one, its extension record, which holds its number, code and note.
int addLine(JobWriter* job, const char* name, const LineResult& line,
            const ExtensionResult* extension = nullptr);

// Adds a chain with as many continuations as the description needs. Returns IX_TEXT_TOO_LONG for
// one that a chain of this name cannot hold with all its continuations. Of attributes the element
// number, the secondary code and the note text are taken.
int addChain(JobWriter* job, const char* name, const std::string& description,
             const ChainResult& attributes);
// Adds one record of a chain: member 0 is the chain itself, 1 to CHAIN_CONTINUATIONS are
// its continuations, each of which may be missing.
int addChainMember(JobWriter* job, const char* name, int member, const std::string& share,
                   const ChainResult& attributes);
// Adds a chain as older programs wrote it, in one record of the older layout.
int addOlderChain(JobWriter* job, const char* name, const std::string& description,
                  const ChainResult& attributes);

// Adds a profile: its header record, data records in the order of the entries, and an
// extension record, if there is one.
int addProfile(JobWriter* job, const char* name, const ProfileEntry* entries, int entryCount,
               const ExtensionResult* extension = nullptr);

// Adds the counter of element numbers, which holds the highest one that was handed out.
int addVersionCounter(JobWriter* job, int32_t counter);

// The images of records that are made anew where they are lost: the header of a profile, and the
// counter. Return the length, or IMAGE_DOES_NOT_FIT.
int packProfileHeader(uint8_t* image, int room, const char* name);
int packVersionCounter(uint8_t* image, int room, int32_t counter);
