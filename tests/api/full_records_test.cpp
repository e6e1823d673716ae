// Records whose texts are as long as their fields let them be come back whole.
#include "tests/support/exports.h"
#include "tests/support/raw_job.h"
#include "tools/job_writer.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{

// Fills a text up to the length that it has in the file, its terminator included.
template <size_t ROOM> void fill(char (&text)[ROOM], size_t length)
{
    ASSERT_LE(length, ROOM);
    memset(text, 'x', length - 1);
}

// The lengths of the texts of an element that is read and given back.
template <typename Element, typename... Texts>
std::string lengths(IdxConnection* job, uint32_t kind, const char* name, Texts Element::*... texts)
{
    void* element = nullptr;
    std::string list;
    if (orvIdx_readElementbyName(job, kind, name, &element) != IDX_OK) return "unreadable";
    for (size_t length : {strlen(static_cast<Element*>(element)->*texts)...}) {
        list += std::to_string(length) + " ";
    }
    if (kind == ELEMENT_CHAIN) {
        int members = 0;
        const ChainMember* member = static_cast<ChainElement*>(element)->firstMember;
        for (; member != nullptr; member = member->next)
            ++members;
        list += std::to_string(members);
    }
    orvIdx_freeElement(kind, &element);
    return list;
}

std::string repeated(const std::string& text, int times)
{
    std::string all;
    while (times-- > 0)
        all += text;
    return all;
}

TEST(FullRecords, ComeBackWhole)
{
    std::string path = writeEmptyJob(0);
    JobWriter writer;
    ASSERT_EQ(openJobWriter(&writer, path, OPEN_SHARED), IX_OK);
    PointRecord point = {};
    fill(point.setText, 30);
    fill(point.firstNote, 256);
    fill(point.longText, 1000);
    fill(point.secondNote, 256);
    fill(point.codeText, 10);
    for (auto& text : point.texts) {
        fill(text, 250);
    }
    point.numbers[0] = 12345678;
    const std::string feature(37, 'x');
    EXPECT_EQ(addPoint(&writer, "1", point, feature.c_str()), IX_OK);
    SurveyChainRecord surveyChain = {};
    fill(surveyChain.setText, 30);
    fill(surveyChain.note, 256);
    const std::string name(15, 'N');
    EXPECT_EQ(
        addSurveyChain(&writer, name.c_str(), surveyChain, repeated("1,", 1250), feature.c_str()),
        IX_OK);
    CurveResult curve = {};
    fill(curve.textA, 250);
    fill(curve.textB, 250);
    fill(curve.secondaryCode, 25);
    fill(curve.noteText, 257);
    for (auto label : {&curve.label1, &curve.label2, &curve.label3, &curve.label4}) {
        fill(*label, 17);
    }
    EXPECT_EQ(addCurve(&writer, name.c_str(), curve), IX_OK);
    SpiralResult spiral = {};
    fill(spiral.textA, 250);
    fill(spiral.secondaryCode, 25);
    fill(spiral.noteText, 257);
    fill(spiral.label1, 17);
    EXPECT_EQ(addSpiral(&writer, name.c_str(), spiral), IX_OK);
    ExtensionResult extension = {};
    fill(extension.secondaryCode, 24);
    fill(extension.noteText, 256);
    // A line has the first eleven characters of its points' names, its extension the rest.
    const std::string longest = "ABCDEFGHIJKLMN1";
    EXPECT_EQ(addPoint(&writer, longest.c_str(), {}), IX_OK);
    LineResult line = {};
    longest.copy(line.beginPointName, 11);
    longest.copy(line.endPointName, 11);
    strcpy(extension.longText, "LMN1");
    strcpy(extension.shortText, "LMN1");
    EXPECT_EQ(addLine(&writer, name.c_str(), line, &extension), IX_OK);
    const ProfileEntry entries[] = {{1, 0, 0}, {2, 10, 1}};
    EXPECT_EQ(addProfile(&writer, name.c_str(), entries, 2, &extension), IX_OK);
    ChainResult chain = {};
    fill(chain.secondaryCode, 25);
    fill(chain.noteText, 257);
    // The last member of a record is its last character.
    const std::string description = repeated("1 ", 1249) + "1";
    EXPECT_EQ(addChain(&writer, name.c_str(), description + " 1", chain), IX_OK);
    EXPECT_EQ(addOlderChain(&writer, "OLDER", description, chain), IX_OK);
    ASSERT_EQ(closeJobWriter(&writer), IX_OK);

    IdxConnection* job = nullptr;
    ASSERT_EQ(orvIdx_connectToOrvaneOrvFile(&job, path.c_str(), 0), IDX_OK);
    EXPECT_EQ(lengths(job, ELEMENT_POINT, "1", &PointElement::setText, &PointElement::featureText,
                      &PointElement::firstNote, &PointElement::longText, &PointElement::text1,
                      &PointElement::text2, &PointElement::text3, &PointElement::text4),
              "29 24 255 999 249 249 249 249 ");
    EXPECT_EQ(lengths(job, ELEMENT_SURVEY_CHAIN, name.c_str(), &SurveyChainElement::setText,
                      &SurveyChainElement::name, &SurveyChainElement::note,
                      &SurveyChainElement::featureText),
              "29 15 255 24 ");
    EXPECT_EQ(lengths(job, ELEMENT_CURVE, name.c_str(), &CurveElement::name, &CurveElement::textA,
                      &CurveElement::textB, &CurveElement::secondaryCode, &CurveElement::noteText),
              "15 249 249 24 256 ");
    EXPECT_EQ(lengths(job, ELEMENT_SPIRAL, name.c_str(), &SpiralElement::name,
                      &SpiralElement::textA, &SpiralElement::secondaryCode,
                      &SpiralElement::noteText),
              "15 249 24 256 ");
    EXPECT_EQ(lengths(job, ELEMENT_LINE, name.c_str(), &LineElement::name,
                      &LineElement::beginPointName, &LineElement::endPointName,
                      &LineElement::secondaryCode, &LineElement::noteText),
              "15 15 15 23 255 ");
    EXPECT_EQ(lengths(job, ELEMENT_PROFILE, name.c_str(), &ProfileElement::name,
                      &ProfileElement::secondaryCode, &ProfileElement::noteText),
              "15 23 255 ");
    for (const char* each : {name.c_str(), "OLDER"}) {
        EXPECT_EQ(lengths(job, ELEMENT_CHAIN, each, &ChainElement::secondaryCode,
                          &ChainElement::noteText),
                  each == name ? "24 256 1251" : "24 256 1250");
    }
    EXPECT_EQ(orvIdx_disconnectFromOrvaneOrvFile(&job), IDX_OK);
}

} // namespace
