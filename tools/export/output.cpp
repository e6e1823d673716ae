#include "tools/export/output.h"

#include <cerrno>
#include <cstring>

constexpr size_t WRITTEN_AT_ONCE = 1 << 16;

static void noteFault(ExportOutput* output)
{
    if (output->fault.empty()) output->fault = output->name + ": " + std::strerror(errno);
}

void beginOutput(ExportOutput* output, std::FILE* stream, const std::string& path)
{
    *output = {};
    output->stream = stream;
    output->name = stream != nullptr ? "standard output" : path;
    if (stream == nullptr && beginNewFile(&output->file, path, true) != NEW_FILE_DONE) {
        noteFault(output);
    }
}

static void writePending(ExportOutput* output)
{
    const std::string& pending = output->pending;
    if (output->fault.empty()) {
        bool written =
            output->stream != nullptr
                ? std::fwrite(pending.data(), 1, pending.size(), output->stream) == pending.size()
                : writeNewFile(&output->file, pending.data(), pending.size()) == NEW_FILE_DONE;
        if (!written) noteFault(output);
    }
    output->pending.clear();
}

void put(ExportOutput* output, std::string_view text)
{
    output->pending += text;
    if (output->pending.size() >= WRITTEN_AT_ONCE) writePending(output);
}

void finishOutput(ExportOutput* output)
{
    writePending(output);
    if (!output->fault.empty()) return;
    bool finished = output->stream != nullptr ? std::fflush(output->stream) == 0
                                              : finishNewFile(&output->file) == NEW_FILE_DONE;
    if (!finished) noteFault(output);
}

void abandonOutput(ExportOutput* output)
{
    if (output->stream == nullptr) abandonNewFile(&output->file);
}
