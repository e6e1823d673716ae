// Everything in the sample job that is no point.
#include "tools/sample/sample_parts.h"

#include <algorithm>

constexpr int MAX_LINES = 25;
constexpr int EDGE_MEMBERS = 100;
constexpr int EDGE_CURVES = 10; // of these

// The chain MAIN has this many continuations, unless it is very short.
constexpr size_t MAIN_CONTINUATIONS = 2;
constexpr size_t MIN_SHARE = 20; // characters of the description in one of its records

constexpr int GROUND_POINTS = 500;
constexpr int MIN_GROUND_POINTS = 10;
constexpr int POINTS_PER_GROUND_POINT = 4; // in a job that is no full sample

constexpr int MAX_SURVEY_CHAINS = 30;
constexpr int SURVEY_CHAIN_SECTIONS = 20;
constexpr int32_t FIRST_SURVEY_NUMBER = 400;

// -- Curves, spirals ---------------------------------------------------------

// Of a curve or a spiral.
template <typename Result>
static Result described(Sample* sample, Result result, const char* text, const char* note)
{
    result.elementNumber = ++sample->elementNumber;
    copyText(result.textA, RECORD_TEXT_ROOM, text);
    copyText(result.secondaryCode, SECONDARY_CODE_ROOM, "CENTERLINE");
    copyText(result.noteText, RECORD_NOTE_ROOM, note);
    return result;
}

static int addCurvePiece(Sample* sample, const AlignmentPiece& piece)
{
    CurveResult curve =
        described(sample, curveRecord(piece), "design speed 80", "curve of the main alignment");
    return addCurve(&sample->job, piece.name.c_str(), curve);
}

static int addSpiralPiece(Sample* sample, const AlignmentPiece& piece)
{
    SpiralResult spiral =
        described(sample, spiralRecord(piece), "clothoid", "transition of the main alignment");
    return addSpiral(&sample->job, piece.name.c_str(), spiral);
}

static int addPieces(Sample* sample)
{
    int result = IX_OK;
    for (const AlignmentPiece& piece : sample->alignment.pieces) {
        if (result != IX_OK) break;
        if (isStraight(piece)) continue;
        result = isSpiral(piece) ? addSpiralPiece(sample, piece) : addCurvePiece(sample, piece);
    }
    return result;
}

// -- Lines -------------------------------------------------------------------

static LineResult lineBetween(const std::string& begin, const std::string& end, double length)
{
    LineResult line = {};
    copyText(line.lineText, LINE_NAME_LENGTH + 1, begin.c_str());
    copyText(line.beginPointName, LINE_NAME_LENGTH + 1, begin.c_str());
    copyText(line.endPointName, LINE_NAME_LENGTH + 1, end.c_str());
    line.value = length;
    return line;
}

static ExtensionResult nextExtension(Sample* sample, const char* code, const char* note)
{
    ExtensionResult extension = {};
    extension.elementNumber = ++sample->elementNumber;
    copyText(extension.secondaryCode, sizeof extension.secondaryCode, code);
    copyText(extension.noteText, sizeof extension.noteText, note);
    return extension;
}

// Adds the straights of the alignment as the lines L1, L2, ...
static int addStraights(Sample* sample)
{
    int lines = std::min(sample->alignmentPoints / 2, MAX_LINES);
    int result = IX_OK;
    for (int at = 0; at < lines && result == IX_OK; ++at) {
        int begin = 2 * at;
        int end = begin + 1;
        LineResult line = lineBetween(
            alignmentPointName(begin), alignmentPointName(end),
            distanceBetween(alignmentPlace(sample, begin), alignmentPlace(sample, end)));
        ExtensionResult extension = nextExtension(sample, "CENTERLINE", "straight");
        result = addLine(&sample->job, numberedName("L", at + 1).c_str(), line, &extension);
    }
    return result;
}

static int addBaseLine(Sample* sample)
{
    if (!hasMonuments(sample)) return IX_OK;
    LineResult line =
        lineBetween(MONUMENTS[0], MONUMENTS[1],
                    distanceBetween(controlPlace(sample, 0), controlPlace(sample, 1)));
    ExtensionResult extension = nextExtension(sample, "CONTROL", "base line");
    copyText(extension.longText, sizeof extension.longText, MONUMENTS[0] + LINE_NAME_LENGTH);
    copyText(extension.shortText, sizeof extension.shortText, MONUMENTS[1] + LINE_NAME_LENGTH);
    return addLine(&sample->job, "BASE", line, &extension);
}

// Adds the lines NX1, NX2, ... from shot to shot across the road. Their extension records are left
// to whoever reads them first.
static int addBareLines(Sample* sample)
{
    int lines = std::min(sample->shots / 3 * 2, SAMPLE_BARE_LINES);
    int result = IX_OK;
    for (int at = 0; at < lines && result == IX_OK; ++at) {
        constexpr int LINES_ACROSS = SHOT_COLUMNS - 1;
        int shot = at / LINES_ACROSS * SHOT_COLUMNS + at % LINES_ACROSS;
        const Shot* begin = &sample->batch[static_cast<size_t>(shot)];
        LineResult line = lineBetween(std::to_string(shot + 1), std::to_string(shot + 2),
                                      distanceBetween(begin[0].place, begin[1].place));
        result = addLine(&sample->job, numberedName("NX", at + 1).c_str(), line);
    }
    return result;
}

// -- Chains ------------------------------------------------------------------

static ChainResult nextChain(Sample* sample, const char* code, const char* note)
{
    ChainResult chain = {};
    chain.elementNumber = ++sample->elementNumber;
    copyText(chain.secondaryCode, SECONDARY_CODE_ROOM, code);
    copyText(chain.noteText, RECORD_NOTE_ROOM, note);
    return chain;
}

static std::string alignmentMember(const Sample* sample, int ordinal)
{
    if (ordinal >= sample->alignmentPoints) return "";
    std::string member = " ";
    member += alignmentPointName(ordinal);
    return member;
}

// Describes the whole alignment: its points, between them what each bend consists of, and in
// the middle the chain RAMP.
static std::string mainDescription(const Sample* sample)
{
    const std::vector<Bend>& bends = sample->alignment.bends;
    std::string text = alignmentPointName(0);
    int ordinal = 1;
    for (size_t at = 0; at < bends.size(); ++at) {
        text += alignmentMember(sample, ordinal++);
        text += " ";
        text += bends[at].members;
        if (at == 0) text += " SHIFT";
        std::string behind = alignmentMember(sample, ordinal++);
        if (at == bends.size() / 2) {
            text += " GAP CHA RAMP";
            if (!behind.empty()) text += " GAP"; // at the very end it would be a point's name
        }
        text += behind;
    }
    return text + alignmentMember(sample, ordinal);
}

static int addMainChain(Sample* sample)
{
    std::string text = mainDescription(sample);
    size_t share = std::max(text.size() / (MAIN_CONTINUATIONS + 1) + 1, MIN_SHARE);
    int result = addChainMember(&sample->job, "MAIN", 0, text.substr(0, share),
                                nextChain(sample, "CENTERLINE", "main alignment"));
    int member = 1;
    for (size_t at = share; at < text.size() && result == IX_OK; at += share) {
        result = addChainMember(&sample->job, "MAIN", member++, text.substr(at, share), {});
    }
    return result;
}

// Describes the ramp. The text begins with a blank: where another chain refers to this one,
// nothing is put between the member before and the description.
static std::string rampDescription(const Sample* sample)
{
    constexpr int MAX_RAMP_POINTS = 8;
    std::string text;
    for (int shot = 1; shot <= std::min(sample->shots, MAX_RAMP_POINTS); ++shot) {
        text += numberedName(" ", shot);
    }
    return text.empty() ? alignmentMember(sample, 0) : text;
}

// Returns the first curve of some bends, evenly distributed.
static std::vector<const AlignmentPiece*> edgeCurves(const Sample* sample)
{
    const Alignment& alignment = sample->alignment;
    size_t every = std::max<size_t>(alignment.bends.size() / EDGE_CURVES, 1);
    std::vector<const AlignmentPiece*> curves;
    for (size_t at = 0; at < alignment.bends.size() && curves.size() < EDGE_CURVES; at += every) {
        size_t piece = alignment.bends[at].firstPiece;
        while (isSpiral(alignment.pieces[piece])) {
            ++piece;
        }
        curves.push_back(&alignment.pieces[piece]);
    }
    return curves;
}

// Lists the left edge of the pavement from the begin of the road to its end; on some curves the
// curve itself stands for the shots there.
static void listLeftEdge(const Sample* sample, std::vector<std::string>* members)
{
    int sections = completeSections(sample);
    int every = std::max(sections / (EDGE_MEMBERS - EDGE_CURVES), 1);
    double covered = 0.0; // up to this station
    std::vector<const AlignmentPiece*> curves = edgeCurves(sample);
    auto next = curves.begin();
    for (int section = 0; section < sections; section += every) {
        double station = sectionStation(sample, section);
        while (next != curves.end() && (*next)->begin.station <= station) {
            members->push_back("CUR " + (*next)->name);
            covered = (*next)->end.station;
            ++next;
        }
        if (station >= covered) members->push_back(shotName(section, LEFT_EDGE_COLUMN));
    }
}

// Describes the edges of the pavement and its crown, there and back and there again, as far as
// there are shots.
static std::string edgeDescription(const Sample* sample)
{
    std::vector<std::string> members;
    listLeftEdge(sample, &members);
    int sections = completeSections(sample);
    for (int section = sections - 1; section >= 0; --section) {
        members.push_back(shotName(section, RIGHT_EDGE_COLUMN));
    }
    for (int section = 0; section < sections; ++section) {
        members.push_back(shotName(section, CROWN_COLUMN));
    }
    members.resize(std::min<size_t>(members.size(), EDGE_MEMBERS));
    std::string text;
    for (const std::string& member : members) {
        if (!text.empty()) text += " ";
        text += member;
    }
    return text;
}

static int addChains(Sample* sample)
{
    int result = addMainChain(sample);
    if (result == IX_OK) {
        result = addChain(&sample->job, "RAMP", rampDescription(sample),
                          nextChain(sample, "RAMP", "joins the main alignment"));
    }
    if (result != IX_OK || completeSections(sample) == 0) return result;
    return addChain(&sample->job, "EDGE", edgeDescription(sample),
                    nextChain(sample, "EDGE", "pavement as built"));
}

// -- Profiles ----------------------------------------------------------------

static int addEntries(Sample* sample, const char* name, const std::vector<ProfileEntry>& entries,
                      const ExtensionResult* extension)
{
    return addProfile(&sample->job, name, entries.data(), static_cast<int>(entries.size()),
                      extension);
}

// Adds the grade line, the ground below it, and the ground on both sides, which has no extension
// records.
static int addProfiles(Sample* sample)
{
    constexpr double BELOW = -0.5;
    constexpr double LEFT = -1.5;
    constexpr double RIGHT = 0.5;
    int count = GROUND_POINTS;
    if (sample->points < FULL_SAMPLE_POINTS) {
        count = std::max(sample->points / POINTS_PER_GROUND_POINT, MIN_GROUND_POINTS);
    }
    std::vector<ProfileEntry> below =
        groundEntries(sample->gradeLine, count, BELOW, &sample->random);
    std::vector<ProfileEntry> left = groundEntries(sample->gradeLine, count, LEFT, &sample->random);
    std::vector<ProfileEntry> right =
        groundEntries(sample->gradeLine, count, RIGHT, &sample->random);

    ExtensionResult extension = nextExtension(sample, "GRADE", "grade line of the main alignment");
    int result = addEntries(sample, "MAIN", gradeLineEntries(sample->gradeLine), &extension);
    if (result != IX_OK) return result;
    extension = nextExtension(sample, "GROUND", "measured at the main alignment");
    result = addEntries(sample, "GROUND", below, &extension);
    if (result == IX_OK) result = addEntries(sample, "GROUNDL", left, nullptr);
    if (result == IX_OK) result = addEntries(sample, "GROUNDR", right, nullptr);
    return result;
}

// -- Survey chains -----------------------------------------------------------

// Adds a name to a point list.
static void listPoint(std::string* list, const std::string& name)
{
    if (!list->empty()) *list += ",";
    *list += name;
}

static SurveyChainRecord surveyChainRecord(int ordinal, const char* note)
{
    SurveyChainRecord record = {};
    copyText(record.setText, SET_TEXT_ROOM, "TOPO");
    copyText(record.note, NOTE_ROOM, note);
    record.numbers[0] = FIRST_SURVEY_NUMBER + ordinal;
    record.integers[3] = 1;
    return record;
}

// Adds a survey chain of all alignment points, with a gap in the middle.
static int addStakedChain(Sample* sample)
{
    std::string list;
    for (int ordinal = 0; ordinal < sample->alignmentPoints; ++ordinal) {
        if (ordinal > 0 && ordinal == sample->alignmentPoints / 2) listPoint(&list, "GAP");
        listPoint(&list, alignmentPointName(ordinal));
    }
    return addSurveyChain(&sample->job, "STAKED", surveyChainRecord(0, "staked out"), list,
                          "CENTERLINE");
}

// Adds survey chains along the columns of shots, each over some sections, every other one with a
// gap and every third one with a feature.
static int addColumnChains(Sample* sample)
{
    int sections = completeSections(sample);
    int chains = std::min(sections, MAX_SURVEY_CHAINS);
    int result = IX_OK;
    for (int at = 0; at < chains && result == IX_OK; ++at) {
        int first = at / SHOT_COLUMNS * SURVEY_CHAIN_SECTIONS;
        int behind = std::min(first + SURVEY_CHAIN_SECTIONS, sections);
        std::string list;
        for (int section = first; section < behind; ++section) {
            bool gap = at % 2 == 0 && section == first + SURVEY_CHAIN_SECTIONS / 2;
            if (gap) listPoint(&list, "GAP");
            listPoint(&list, shotName(section, at % SHOT_COLUMNS));
        }
        if (list.empty()) break;
        result = addSurveyChain(&sample->job, numberedName("BREAK ", at + 1).c_str(),
                                surveyChainRecord(at + 1, "break line"), list,
                                at % 3 == 0 ? "BREAK LINE" : nullptr);
    }
    return result;
}

// -- Together ----------------------------------------------------------------

int addElements(Sample* sample)
{
    int result = addPieces(sample);
    if (result == IX_OK) result = addStraights(sample);
    if (result == IX_OK) result = addBaseLine(sample);
    if (result == IX_OK) result = addBareLines(sample);
    if (result == IX_OK) result = addChains(sample);
    if (result == IX_OK) result = addProfiles(sample);
    if (result == IX_OK) result = addStakedChain(sample);
    if (result == IX_OK) result = addColumnChains(sample);
    if (result == IX_OK) result = addVersionCounter(&sample->job, sample->elementNumber);
    return result;
}
