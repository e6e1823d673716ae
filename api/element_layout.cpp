// The binary interface, checked by the compiler: offset and size of everything
// that the host reads. Records without pointers are laid out alike in every build;
// those with pointers are checked for the 32-bit interface and for 64 bits.
#include "api/orvIdx.h"

#include <cstddef>

constexpr bool ABI_IS_32_BIT = sizeof(void*) == 4;

static constexpr size_t byAbi(size_t in32Bits, size_t in64Bits)
{
    return ABI_IS_32_BIT ? in32Bits : in64Bits;
}

static_assert(offsetof(IdxConnection, fileNumber) == 0);
static_assert(offsetof(IdxConnection, path) == 4);
static_assert(offsetof(IdxConnection, userValue) == 260);
static_assert(sizeof(IdxConnection) == 264);

static_assert(offsetof(PointElement, setText) == 0);
static_assert(offsetof(PointElement, name) == 31);
static_assert(offsetof(PointElement, featureText) == 48);
static_assert(offsetof(PointElement, firstNote) == 73);
static_assert(offsetof(PointElement, longText) == 330);
static_assert(offsetof(PointElement, real4) == 1336);
static_assert(offsetof(PointElement, integer1) == 1344);
static_assert(offsetof(PointElement, real1) == 1352);
static_assert(offsetof(PointElement, real2) == 1360);
static_assert(offsetof(PointElement, real3) == 1368);
static_assert(offsetof(PointElement, number1) == 1376);
static_assert(offsetof(PointElement, integer7) == 1380);
static_assert(offsetof(PointElement, text1) == 1384);
static_assert(offsetof(PointElement, text2) == 1634);
static_assert(offsetof(PointElement, text3) == 1884);
static_assert(offsetof(PointElement, text4) == 2134);
static_assert(sizeof(PointElement) == 2384 && alignof(PointElement) == 8);

static_assert(offsetof(LineElement, name) == 0);
static_assert(offsetof(LineElement, beginPointName) == 16);
static_assert(offsetof(LineElement, endPointName) == 32);
static_assert(offsetof(LineElement, beginPoint) == 48);
static_assert(offsetof(LineElement, endPoint) == 2432);
static_assert(offsetof(LineElement, secondaryCode) == 4816);
static_assert(offsetof(LineElement, noteText) == 4841);
static_assert(sizeof(LineElement) == 5104 && alignof(LineElement) == 8);

static_assert(offsetof(CurveElement, name) == 0);
static_assert(offsetof(CurveElement, curve1) == 16);
static_assert(offsetof(CurveElement, curve2) == 24);
static_assert(offsetof(CurveElement, curve3) == 32);
static_assert(offsetof(CurveElement, curve4) == 40);
static_assert(offsetof(CurveElement, curve5) == 48);
static_assert(offsetof(CurveElement, curve6) == 56);
static_assert(offsetof(CurveElement, curve7) == 64);
static_assert(offsetof(CurveElement, curve8) == 72);
static_assert(offsetof(CurveElement, curve9) == 80);
static_assert(offsetof(CurveElement, curve10) == 88);
static_assert(offsetof(CurveElement, curve11) == 96);
static_assert(offsetof(CurveElement, curve12) == 104);
static_assert(offsetof(CurveElement, curve13) == 112);
static_assert(offsetof(CurveElement, curve14) == 120);
static_assert(offsetof(CurveElement, textA) == 128);
static_assert(offsetof(CurveElement, textB) == 378);
static_assert(offsetof(CurveElement, secondaryCode) == 628);
static_assert(offsetof(CurveElement, noteText) == 653);
static_assert(sizeof(CurveElement) == 912 && alignof(CurveElement) == 8);

static_assert(offsetof(SpiralElement, name) == 0);
static_assert(offsetof(SpiralElement, spiralType) == 16);
static_assert(offsetof(SpiralElement, spiral1) == 24);
static_assert(offsetof(SpiralElement, spiral2) == 32);
static_assert(offsetof(SpiralElement, spiral3) == 40);
static_assert(offsetof(SpiralElement, spiral4) == 48);
static_assert(offsetof(SpiralElement, spiral5) == 56);
static_assert(offsetof(SpiralElement, spiral6) == 64);
static_assert(offsetof(SpiralElement, spiral7) == 72);
static_assert(offsetof(SpiralElement, spiral8) == 80);
static_assert(offsetof(SpiralElement, spiral9) == 88);
static_assert(offsetof(SpiralElement, spiral10) == 96);
static_assert(offsetof(SpiralElement, spiral11) == 104);
static_assert(offsetof(SpiralElement, spiral12) == 112);
static_assert(offsetof(SpiralElement, spiral13) == 120);
static_assert(offsetof(SpiralElement, spiral14) == 128);
static_assert(offsetof(SpiralElement, spiral15) == 136);
static_assert(offsetof(SpiralElement, spiral16) == 144);
static_assert(offsetof(SpiralElement, spiral17) == 152);
static_assert(offsetof(SpiralElement, spiral18) == 160);
static_assert(offsetof(SpiralElement, textA) == 168);
static_assert(offsetof(SpiralElement, secondaryCode) == 418);
static_assert(offsetof(SpiralElement, noteText) == 443);
static_assert(sizeof(SpiralElement) == 704 && alignof(SpiralElement) == 8);

static_assert(sizeof(ChainMemberPayload) == sizeof(PointElement));
static_assert(offsetof(ChainMember, next) == 0);
static_assert(offsetof(ChainMember, memberKind) == byAbi(4, 8));
static_assert(offsetof(ChainMember, payload) == byAbi(8, 16));
static_assert(sizeof(ChainMember) == byAbi(2392, 2400));

static_assert(offsetof(ChainElement, name) == 0);
static_assert(offsetof(ChainElement, secondaryCode) == 16);
static_assert(offsetof(ChainElement, noteText) == 41);
static_assert(offsetof(ChainElement, unresolvedMembers) == 298);
static_assert(offsetof(ChainElement, firstMember) == byAbi(300, 304));
static_assert(sizeof(ChainElement) == byAbi(304, 312));

static_assert(offsetof(ProfileVertex, vertexCode) == 0);
static_assert(offsetof(ProfileVertex, station) == 8);
static_assert(offsetof(ProfileVertex, segmentNumber) == 16);
static_assert(offsetof(ProfileVertex, elevation) == 24);
static_assert(offsetof(ProfileVertex, backLength) == 32);
static_assert(offsetof(ProfileVertex, aheadLength) == 40);
static_assert(sizeof(ProfileVertex) == 48 && alignof(ProfileVertex) == 8);

static_assert(offsetof(ProfileElement, name) == 0);
static_assert(offsetof(ProfileElement, secondaryCode) == 16);
static_assert(offsetof(ProfileElement, noteText) == 41);
static_assert(offsetof(ProfileElement, vertexCount) == 300);
static_assert(offsetof(ProfileElement, vertices) == 304);
static_assert(sizeof(ProfileElement) == byAbi(308, 312));

static_assert(offsetof(SurveyChainElement, setText) == 0);
static_assert(offsetof(SurveyChainElement, name) == 31);
static_assert(offsetof(SurveyChainElement, featureText) == 48);
static_assert(offsetof(SurveyChainElement, note) == 73);
static_assert(offsetof(SurveyChainElement, number1) == 332);
static_assert(offsetof(SurveyChainElement, integer4) == 336);
static_assert(offsetof(SurveyChainElement, unresolvedPoints) == 340);
static_assert(offsetof(SurveyChainElement, pointCount) == 344);
static_assert(offsetof(SurveyChainElement, points) == byAbi(348, 352));
static_assert(sizeof(SurveyChainElement) == byAbi(352, 360));
