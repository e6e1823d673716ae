#include "tools/orvidx/commands.h"
#include "tools/orvidx/job_export.h"
#include "tools/terminal/terminal.h"

int runExport(const JobSource& source, const ExportRequest& request, std::FILE* out)
{
    if (request.outFile.empty()) {
        exportToStream(source.job, out, !isTerminal(out));
    } else {
        exportToFile(source, request.outFile);
    }
    return STATUS_DONE;
}
