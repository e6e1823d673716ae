// Chains: the description, a line of text, becomes a list of members.
//
//   word            point of that name
//   CUR name        curve
//   SPI name        spiral
//   SCS name        spiral nameB, curve name, spiral nameA
//   GAP, SHIFT      gap, shift
//   CHA name        another chain, whose description takes its place
// Members are separated by blanks. A keyword is one only with a blank behind it.
#include "api/call_bracket.h"
#include "api/element_builders.h"
#include "api/orvIdx.h"
#include "api/text_block.h"
#include "platform/platform.h"

#include <cstdio>
#include <cstring>

// What the tokenizer finds besides the CHAIN_MEMBER_... kinds.
constexpr int TOKEN_GROUP = -1;     // spiral, curve and spiral
constexpr int TOKEN_REFERENCE = -2; // another chain

struct Keyword {
    const char* text;
    int type;
    bool hasName;
};

constexpr Keyword KEYWORDS[] = {
    {"CHA ", TOKEN_REFERENCE, true},     {"CUR ", CHAIN_MEMBER_CURVE, true},
    {"SPI ", CHAIN_MEMBER_SPIRAL, true}, {"SCS ", TOKEN_GROUP, true},
    {"GAP ", CHAIN_MEMBER_GAP, false},   {"SHIFT ", CHAIN_MEMBER_SHIFT, false},
};

// The members of a group, named after it with a suffix.
struct GroupPart {
    int kind;
    const char* suffix;
};

constexpr GroupPart GROUP_PARTS[] = {
    {CHAIN_MEMBER_SPIRAL, "B"}, {CHAIN_MEMBER_CURVE, ""}, {CHAIN_MEMBER_SPIRAL, "A"}};

constexpr char BLANK = ' ';
constexpr char REFERENCE[] = "CHA";
constexpr size_t NAMED_KEYWORD_LENGTH = 4; // with the blank; of the keywords with a name
constexpr size_t WORD_ROOM = 256;
constexpr size_t EXPANDED_ROOM = 12500; // to begin with

// What became of a member.
constexpr int MEMBER_ADDED = 0;
constexpr int MEMBER_UNRESOLVED = 1;
constexpr int MEMBER_NO_MEMORY = 2;

// A member of the description.
struct Token {
    int type;             // CHAIN_MEMBER_... or TOKEN_...
    char name[WORD_ROOM]; // of types that have one
    bool nameFits;
};

// A chain while its members are appended.
struct MemberList {
    RecordFile* job;
    ChainElement* chain;
    ChainMember* last;
};

static bool isWhiteSpace(char character)
{
    return character != '\0' && std::strchr(" \t\n\v\f\r", character) != nullptr;
}

// The first word at or after text, which white space ends: its begin, and *end behind
// its last character. Empty at the end of the text.
static const char* findWord(const char* text, const char** end)
{
    while (isWhiteSpace(*text)) {
        ++text;
    }
    *end = text;
    while (**end != '\0' && !isWhiteSpace(**end)) {
        ++*end;
    }
    return text;
}

// Copies a word into WORD_ROOM bytes. False, and nothing copied, when it is longer.
static bool copyWord(char* name, const char* word, const char* end)
{
    size_t length = static_cast<size_t>(end - word);
    if (length >= WORD_ROOM) return false;
    std::memcpy(name, word, length);
    name[length] = '\0';
    return true;
}

// -- References --------------------------------------------------------------

// Appends the description of the chain; of one that does not exist or cannot be read
// nothing. IDX_ERROR when there is no room for it, or when reading has to write, which
// a bracket for reading has refused.
static int appendDescription(RecordFile* job, const char* name, TextBlock* text)
{
    ChainResult result;
    if (findChain(job, name) != COGO_OK) return IDX_OK;
    if (readChain(job, name, &result) != COGO_OK) return hasToWrite(job) ? IDX_ERROR : IDX_OK;
    size_t length = std::strlen(result.description);
    while (length > 0 && result.description[length - 1] == BLANK) {
        --length;
    }
    return appendText(text, result.description, length);
}

// Copies the description, replacing each reference by the description of the chain it
// names. References in that one stay. A reference need not stand at the begin of a
// word. Expects something behind the last letters "CHA", a newline for one. IDX_OK,
// or IDX_ERROR as appendDescription.
static int expandReferences(RecordFile* job, const char* description, TextBlock* text)
{
    const char* cursor = description;
    while (cursor != nullptr) {
        const char* occurrence = std::strstr(cursor, REFERENCE);
        if (occurrence == nullptr) return appendText(text, cursor, std::strlen(cursor));

        char name[WORD_ROOM];
        const char* end = nullptr;
        const char* behind = occurrence + NAMED_KEYWORD_LENGTH;
        const char* word = findWord(behind, &end);
        bool isReference = copyWord(name, word, end);
        // The name is left behind with the keyword, however many blanks stand between
        // them. Letters inside a word are no keyword: a name that is the next word
        // remains, as a member of its own.
        if (occurrence[NAMED_KEYWORD_LENGTH - 1] == BLANK) behind = end;
        const char* next = std::strchr(behind, BLANK);

        // The character before belongs to the reference: the blank that separates it.
        // What no chain can be called stays, and becomes an unresolved member.
        const char* keptEnd = next != nullptr ? next : end;
        if (isReference) keptEnd = occurrence - (occurrence > cursor ? 1 : 0);
        if (appendText(text, cursor, static_cast<size_t>(keptEnd - cursor)) != IDX_OK) {
            return IDX_ERROR;
        }
        if (isReference && appendDescription(job, name, text) != IDX_OK) return IDX_ERROR;
        cursor = next;
    }
    return IDX_OK;
}

// -- Tokenizer ---------------------------------------------------------------

// Takes the white space off both ends of the text, in place. Where its first member begins;
// null when there is none.
static const char* startTokens(char* text)
{
    size_t length = std::strlen(text);
    while (length > 0 && isWhiteSpace(text[length - 1])) {
        text[--length] = '\0';
    }
    while (isWhiteSpace(*text)) {
        ++text;
    }
    return *text != '\0' ? text : nullptr;
}

// Takes the member at the cursor. Where the next one begins; null behind the last one.
static const char* takeToken(const char* cursor, Token* token)
{
    while (*cursor == BLANK) {
        ++cursor;
    }

    token->type = CHAIN_MEMBER_POINT;
    bool hasName = true;
    const char* nameFrom = cursor;
    for (const Keyword& keyword : KEYWORDS) {
        size_t length = std::strlen(keyword.text);
        if (std::strncmp(cursor, keyword.text, length) != 0) continue;
        token->type = keyword.type;
        hasName = keyword.hasName;
        nameFrom = cursor + length;
        break;
    }

    // On to the blank behind the name, however many stand before it.
    const char* end = cursor;
    if (hasName) {
        const char* word = findWord(nameFrom, &end);
        token->nameFits = copyWord(token->name, word, end);
    }
    cursor = std::strchr(end, BLANK);
    while (cursor != nullptr && *cursor == BLANK) {
        ++cursor;
    }
    return cursor;
}

// -- Members -----------------------------------------------------------------

// True when the element that the member is to carry exists; *found becomes its name.
static bool findMember(RecordFile* job, int kind, const char* name, ElementName* found)
{
    copyText(found->text, sizeof found->text, name);
    switch (kind) {
    case CHAIN_MEMBER_POINT:
        return readPointByName(job, name, found) == SURVEY_OK;
    case CHAIN_MEMBER_CURVE:
        return findCurve(job, name) == COGO_OK;
    case CHAIN_MEMBER_SPIRAL:
        return findSpiral(job, name) == COGO_OK;
    default:
        return true;
    }
}

// Fills the payload from the element of the name. IDX_OK or IDX_ERROR.
static int fillMember(RecordFile* job, const char* name, ChainMember* member)
{
    switch (member->memberKind) {
    case CHAIN_MEMBER_POINT:
        return fillPoint(job, name, &member->payload.point);
    case CHAIN_MEMBER_CURVE:
        return fillCurve(job, name, &member->payload.curve);
    case CHAIN_MEMBER_SPIRAL:
        return fillSpiral(job, name, &member->payload.spiral);
    default:
        return IDX_OK;
    }
}

// Appends one member; name counts for the kinds that carry an element. MEMBER_...
static int addMember(MemberList* list, int kind, const char* name)
{
    ElementName found;
    if (!findMember(list->job, kind, name, &found)) return MEMBER_UNRESOLVED;
    ChainMember* member = static_cast<ChainMember*>(allocateZeroed(1, sizeof(ChainMember)));
    if (member == nullptr) return MEMBER_NO_MEMORY;
    member->memberKind = kind;
    if (fillMember(list->job, found.text, member) != IDX_OK) {
        release(member);
        return MEMBER_UNRESOLVED;
    }
    if (list->last != nullptr) {
        list->last->next = member;
    } else {
        list->chain->firstMember = member;
    }
    list->last = member;
    return MEMBER_ADDED;
}

// Appends the members of a group that exist; the others are passed over.
static int addGroup(MemberList* list, const char* name)
{
    for (const GroupPart& part : GROUP_PARTS) {
        char partName[WORD_ROOM + 1];
        std::snprintf(partName, sizeof partName, "%s%s", name, part.suffix);
        if (addMember(list, part.kind, partName) == MEMBER_NO_MEMORY) return MEMBER_NO_MEMORY;
    }
    return MEMBER_ADDED;
}

static int addToken(MemberList* list, const Token* token)
{
    switch (token->type) {
    case CHAIN_MEMBER_GAP:
    case CHAIN_MEMBER_SHIFT:
        return addMember(list, token->type, "");
    case TOKEN_REFERENCE:
        return MEMBER_UNRESOLVED;
    case TOKEN_GROUP:
        return token->nameFits ? addGroup(list, token->name) : MEMBER_UNRESOLVED;
    default:
        return token->nameFits ? addMember(list, token->type, token->name) : MEMBER_UNRESOLVED;
    }
}

// Appends all members of the expanded description. IDX_ERROR when there is no room.
static int addMembers(RecordFile* job, ChainElement* chain, char* text)
{
    MemberList list = {job, chain, nullptr};
    Token token = {};
    const char* cursor = startTokens(text);
    while (cursor != nullptr) {
        cursor = takeToken(cursor, &token);
        int added = addToken(&list, &token);
        if (added == MEMBER_UNRESOLVED) chain->unresolvedMembers = 1;
        if (added == MEMBER_NO_MEMORY) return IDX_ERROR;
    }
    return IDX_OK;
}

// Reads the chain, and its expanded description into an empty text. IDX_OK or
// IDX_ERROR.
static int fillChain(RecordFile* job, const char* name, ChainElement* chain, TextBlock* text)
{
    ChainResult result;
    if (findChain(job, name) != COGO_OK) return IDX_ERROR;
    if (readChain(job, name, &result) != COGO_OK) return IDX_ERROR;
    setMember(chain->name, result.name);
    setMember(chain->secondaryCode, result.secondaryCode);
    setMember(chain->noteText, result.noteText);

    char description[sizeof result.description + 1];
    size_t length = std::strlen(result.description);
    std::memcpy(description, result.description, length);
    description[length] = '\n';
    description[length + 1] = '\0';
    return expandReferences(job, description, text);
}

ChainElement* buildChain(RecordFile* job, const Reached& reached)
{
    ChainElement* chain = static_cast<ChainElement*>(allocateZeroed(1, sizeof(ChainElement)));
    if (chain == nullptr) return nullptr;
    TextBlock text;
    int result = beginText(&text, EXPANDED_ROOM);
    if (result == IDX_OK) result = fillChain(job, reached.name.text, chain, &text);
    if (result == IDX_OK) result = addMembers(job, chain, text.text);
    releaseText(&text);
    if (result == IDX_OK) return chain;
    releaseElement(ELEMENT_CHAIN, chain);
    return nullptr;
}
