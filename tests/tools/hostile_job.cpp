// Writes a job whose names and texts are markup and script, for tests of what shows them.
//
//   hostile_job FILE
#include "tools/writer/job_writer.h"

#include <cstdio>
#include <string>

static int writeTexts(JobWriter* job)
{
    const std::string markup = "</script><script>window.broken=1</script><img src=x onerror=";
    PointRecord point = {};
    copyText(point.setText, SET_TEXT_ROOM, "<b>set</b>");
    copyText(point.firstNote, NOTE_ROOM, (markup + "'window.broken=2'>").c_str());
    copyText(point.texts[0], POINT_TEXT_ROOM, "<!--<script>&lt;\x01\x7f\x80]]>");
    int result = addPoint(job, "1", point, "\"><svg onload=x>");
    point.reals[0] = 5.0;
    if (result == IX_OK) result = addPoint(job, "2", point);

    LineResult line = {};
    copyText(line.lineText, LINE_TEXT_ROOM, "1");
    copyText(line.beginPointName, LINE_TEXT_ROOM, "1");
    copyText(line.endPointName, LINE_TEXT_ROOM, "2");
    for (const char* name : {"</script>", "<b>1</b>", "'\"&amp;<>", "<!--", "\x01\xff<i>"}) {
        if (result == IX_OK) result = addLine(job, name, line);
    }
    ChainResult chain = {};
    copyText(chain.noteText, RECORD_NOTE_ROOM, markup.c_str());
    if (result == IX_OK) result = addChain(job, "{{data}}{{title}}", "1 2", chain);
    const ProfileEntry entries[] = {{1, 0.0, 1.0}, {1, 10.0, 2.0}};
    if (result == IX_OK) result = addProfile(job, "<u onclick=x>", entries, 2);
    return result;
}

int main(int argc, char** argv)
{
    if (argc != 2) return 2;
    std::FILE* file = std::fopen(argv[1], "wb");
    if (file == nullptr) return 1;
    const std::vector<uint8_t> bytes = emptyJobBytes();
    bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    if (std::fclose(file) != 0 || !written) return 1;
    static JobWriter job;
    if (openJobWriter(&job, argv[1], OPEN_EXCLUSIVE) != IX_OK) return 1;
    int result = writeTexts(&job);
    return closeJobWriter(&job) == IX_OK && result == IX_OK ? 0 : 1;
}
