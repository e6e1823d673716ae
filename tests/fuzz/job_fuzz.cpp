// Fuzz target: the exports over a damaged job file, which tell nothing that the sound one
// does not, but of records that were damaged themselves. The input is a list of changes
// to a sound job, three bytes each: where (16 bits) and the byte's new value; the
// first byte of the input chooses how many changed records get a right checksum
// again, so that damage reaches the readers behind it.
#include "format/format.h"
#include "records/record_image.h"
#include "tests/support/command.h"
#include "tests/support/facts.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

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

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* input, size_t size);

int LLVMFuzzerTestOneInput(const uint8_t* input, size_t size)
{
    static const std::string path = "/dev/shm/orvidx-fuzz-" + std::to_string(getpid());
    static const SoundJob sound = [] {
        writeBytes(path, fileBytes(ORVIDX_TEST_DATA "/golden/tiny/job.orv"));
        return learnJob(path);
    }();
    if (size == 0) return 0;

    std::string job = sound.bytes;
    for (size_t i = 1; i + 3 <= size; i += 3) {
        size_t where = (input[i] | static_cast<size_t>(input[i + 1]) << 8) % job.size();
        job[where] = static_cast<char>(input[i + 2]);
    }
    mendChecksums(&job, input[0]);
    writeBytes(path, job);
    std::string wrong = wrongFact(sound, job, factsOfJob(path));
    unlink(path.c_str());
    if (wrong.empty()) return 0;
    fprintf(stderr, "told: %s\n", wrong.c_str());
    abort();
}
