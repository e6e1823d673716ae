// Fuzz target: the exports over a damaged job file. The input is a list of changes
// to a sound job, three bytes each: where (16 bits) and the byte's new value; the
// first byte of the input chooses how many changed records get a right checksum
// again, so that damage reaches the readers behind it.
#include "api/orvIdx.h"
#include "format/format.h"
#include "records/record_image.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>

static std::string soundJob()
{
    std::ifstream file(ORVIDX_TEST_DATA "/golden/tiny/job.orv", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The images of single-segment records in the leaves of a job, wherever they lie.
static void mendChecksums(std::string* job, int limit)
{
    uint8_t* bytes = reinterpret_cast<uint8_t*>(job->data());
    for (size_t page = 1024; page + 1024 <= job->size(); page += 1024) {
        if (!nodeIsSound(bytes + page) || nodeLevel(bytes + page) != 0) continue;
        const uint8_t* entry = firstEntry(bytes + page);
        for (int i = 0; i < nodeCount(bytes + page); ++i, entry = nextEntry(entry)) {
            int length = entryDataLength(entry);
            bool image = entryIndex(entry) == DATA_INDEX && length >= IMAGE_MIN_SIZE &&
                         entrySegment(entry) == LAST_SEGMENT;
            if (!image || limit-- <= 0) continue;
            uint8_t* start = bytes + (entryData(entry) - bytes);
            storeInt16(start + IMAGE_CHECKSUM, imageChecksum(start, length));
        }
    }
}

// Reads everything of one kind; walks may be longer than the counts in a damaged
// file, so they are bounded.
static void readKind(IdxConnection* job, uint32_t kind)
{
    uint32_t count = 0;
    char* names = nullptr;
    void* element = nullptr;
    orvIdx_numberOfElements(job, kind, &count, &names);
    std::string list = names == nullptr ? "" : names;
    orvIdx_freeElementNameList(&names);
    for (size_t at = 0, reads = 0; at < list.size() && reads < 60; ++reads) {
        size_t comma = std::min(list.find(',', at), list.size());
        orvIdx_readElementbyName(job, kind, list.substr(at, comma - at).c_str(), &element);
        orvIdx_freeElement(kind, &element);
        at = comma + 1;
    }
    int32_t result = orvIdx_readFirstElement(job, kind, &element);
    for (int steps = 0; result == IDX_OK && steps < 60; ++steps) {
        orvIdx_freeElement(kind, &element);
        result = orvIdx_readNextElement(job, kind, &element);
    }
    orvIdx_freeElement(kind, &element);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* input, size_t size);

int LLVMFuzzerTestOneInput(const uint8_t* input, size_t size)
{
    static const std::string sound = soundJob();
    static const std::string path = "/dev/shm/orvidx-fuzz-" + std::to_string(getpid());
    if (size == 0) return 0;

    std::string job = sound;
    for (size_t i = 1; i + 3 <= size; i += 3) {
        size_t where = (input[i] | static_cast<size_t>(input[i + 1]) << 8) % job.size();
        job[where] = static_cast<char>(input[i + 2]);
    }
    mendChecksums(&job, input[0]);
    std::ofstream(path, std::ios::binary | std::ios::trunc) << job;

    IdxConnection* connection = nullptr;
    if (orvIdx_connectToOrvaneOrvFile(&connection, path.c_str(), 0) == IDX_OK) {
        for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
            readKind(connection, kind);
        }
        if (orvIdx_disconnectFromOrvaneOrvFile(&connection) != IDX_OK) abort();
    }
    unlink(path.c_str());
    return 0;
}
