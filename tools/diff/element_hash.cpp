#include "tools/diff/element_hash.h"

#include "orvIdx.h"

#include <cstring>

constexpr size_t WORD = sizeof(uint64_t);

static uint64_t turned(uint64_t value, int bits) { return value << bits | value >> (64 - bits); }

// Two sums with unlike multipliers and turns, which take each word at its place.
static void addWord(ElementHash* hash, uint64_t word)
{
    hash->first = turned((hash->first ^ word) * 0x9E3779B97F4A7C15U, 29);
    hash->second = turned(hash->second + word * 0xC2B2AE3D27D4EB4FU, 31) * 0x165667B19E3779F9U;
}

static void addBytes(ElementHash* hash, const void* bytes, size_t length)
{
    addWord(hash, length);
    const char* at = static_cast<const char*>(bytes);
    for (; length > 0; length -= length < WORD ? length : WORD) {
        uint64_t word = 0;
        std::memcpy(&word, at, length < WORD ? length : WORD);
        addWord(hash, word);
        at += WORD;
    }
}

// The words of the last bytes reach the high bits only: these are spread over all.
static uint64_t spread(uint64_t value)
{
    value = (value ^ value >> 33) * 0xFF51AFD7ED558CCDU;
    value = (value ^ value >> 33) * 0xC4CEB9FE1A85EC53U;
    return value ^ value >> 33;
}

static void addChain(ElementHash* hash, const ChainElement& chain)
{
    addBytes(hash, &chain, offsetof(ChainElement, firstMember));
    for (const ChainMember* member = chain.firstMember; member != nullptr; member = member->next) {
        addWord(hash, static_cast<uint64_t>(member->memberKind));
        addBytes(hash, &member->payload, sizeof member->payload);
    }
}

static void addProfile(ElementHash* hash, const ProfileElement& profile)
{
    addBytes(hash, &profile, offsetof(ProfileElement, vertices));
    addBytes(hash, profile.vertices,
             static_cast<size_t>(profile.vertexCount) * sizeof(ProfileVertex));
}

static void addSurveyChain(ElementHash* hash, const SurveyChainElement& chain)
{
    addBytes(hash, &chain, offsetof(SurveyChainElement, points));
    addBytes(hash, chain.points, static_cast<size_t>(chain.pointCount) * sizeof(PointElement));
}

static void addElement(ElementHash* hash, uint32_t kind, const void* element)
{
    switch (kind) {
    case ELEMENT_POINT:
        return addBytes(hash, element, sizeof(PointElement));
    case ELEMENT_LINE:
        return addBytes(hash, element, sizeof(LineElement));
    case ELEMENT_CURVE:
        return addBytes(hash, element, sizeof(CurveElement));
    case ELEMENT_SPIRAL:
        return addBytes(hash, element, sizeof(SpiralElement));
    case ELEMENT_CHAIN:
        return addChain(hash, *static_cast<const ChainElement*>(element));
    case ELEMENT_PROFILE:
        return addProfile(hash, *static_cast<const ProfileElement*>(element));
    default:
        return addSurveyChain(hash, *static_cast<const SurveyChainElement*>(element));
    }
}

ElementHash hashOfElement(uint32_t kind, const void* element)
{
    ElementHash hash = {0x243F6A8885A308D3U, 0x13198A2E03707344U};
    addElement(&hash, kind, element);
    return {spread(hash.first), spread(hash.second)};
}
