// Chains: the description, a line of text, becomes a list of members.
//
//   word            point of that name
//   CUR name        curve
//   SPI name        spiral
//   SCS name        spiral nameB, curve name, spiral nameA
//   GAP, SHIFT      gap, shift
//   CHA name        another chain, whose description takes its place
// Members are separated by blanks. A keyword is one only with a blank behind it.
#include "api/api_state.h"
#include "api/call_bracket.h"
#include "api/element_builders.h"
#include "api/orvIdx.h"
#include "api/text_block.h"
#include "cogo/cogo.h"
#include "platform/heap.h"

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
static int appendDescription(TextBlock* text, const char* name, int slot)
{
    ChainResult result;
    if (findChain(name, slot) != COGO_OK) return IDX_OK;
    if (readChain(&result, slot) != COGO_OK) return hasToWrite(slot) ? IDX_ERROR : IDX_OK;
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
static int expandReferences(TextBlock* text, const char* description, int slot)
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
        if (isReference && appendDescription(text, name, slot) != IDX_OK) return IDX_ERROR;
        cursor = next;
    }
    return IDX_OK;
}

// -- Tokenizer ---------------------------------------------------------------

// Takes the white space off both ends of the text, in place, and starts there.
static void startTokens(char* text)
{
    size_t length = std::strlen(text);
    while (length > 0 && isWhiteSpace(text[length - 1])) {
        text[--length] = '\0';
    }
    while (isWhiteSpace(*text)) {
        ++text;
    }
    apiState.chainCursor = *text != '\0' ? text : nullptr;
}

// Takes the next member. False behind the last one.
static bool nextToken(Token* token)
{
    const char* cursor = apiState.chainCursor;
    if (cursor == nullptr) return false;
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
    apiState.chainCursor = cursor;
    return true;
}

// -- Members -----------------------------------------------------------------

// True when the element that the member is to carry exists; it is then current.
static bool findMember(int kind, const char* name, int slot)
{
    switch (kind) {
    case CHAIN_MEMBER_POINT:
        return readPointByName(name, slot) == COGO_OK;
    case CHAIN_MEMBER_CURVE:
        return findCurve(name, slot) == COGO_OK;
    case CHAIN_MEMBER_SPIRAL:
        return findSpiral(name, slot) == COGO_OK;
    default:
        return true;
    }
}

// Fills the payload from the current element. IDX_OK or IDX_ERROR.
static int fillMember(ChainMember* member, int slot)
{
    switch (member->memberKind) {
    case CHAIN_MEMBER_POINT:
        return fillPoint(&member->payload.point, slot);
    case CHAIN_MEMBER_CURVE:
        return fillCurve(&member->payload.curve, slot);
    case CHAIN_MEMBER_SPIRAL:
        return fillSpiral(&member->payload.spiral, slot);
    default:
        return IDX_OK;
    }
}

// Appends one member; name counts for the kinds that carry an element. MEMBER_...
static int addMember(MemberList* list, int kind, const char* name, int slot)
{
    if (!findMember(kind, name, slot)) return MEMBER_UNRESOLVED;
    ChainMember* member = static_cast<ChainMember*>(allocateZeroed(1, sizeof(ChainMember)));
    if (member == nullptr) return MEMBER_NO_MEMORY;
    member->memberKind = kind;
    if (fillMember(member, slot) != IDX_OK) {
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
static int addGroup(MemberList* list, const char* name, int slot)
{
    for (const GroupPart& part : GROUP_PARTS) {
        char partName[WORD_ROOM + 1];
        std::snprintf(partName, sizeof partName, "%s%s", name, part.suffix);
        if (addMember(list, part.kind, partName, slot) == MEMBER_NO_MEMORY) return MEMBER_NO_MEMORY;
    }
    return MEMBER_ADDED;
}

static int addToken(MemberList* list, const Token* token, int slot)
{
    switch (token->type) {
    case CHAIN_MEMBER_GAP:
    case CHAIN_MEMBER_SHIFT:
        return addMember(list, token->type, "", slot);
    case TOKEN_REFERENCE:
        return MEMBER_UNRESOLVED;
    case TOKEN_GROUP:
        return token->nameFits ? addGroup(list, token->name, slot) : MEMBER_UNRESOLVED;
    default:
        return token->nameFits ? addMember(list, token->type, token->name, slot)
                               : MEMBER_UNRESOLVED;
    }
}

// Appends all members of the expanded description. IDX_ERROR when there is no room.
static int addMembers(ChainElement* chain, char* text, int slot)
{
    MemberList list = {chain, nullptr};
    int result = IDX_OK;
    Token token = {};
    startTokens(text);
    while (result == IDX_OK && nextToken(&token)) {
        int added = addToken(&list, &token, slot);
        if (added == MEMBER_UNRESOLVED) chain->unresolvedMembers = 1;
        if (added == MEMBER_NO_MEMORY) result = IDX_ERROR;
    }
    apiState.chainCursor = nullptr;
    return result;
}

// Reads the chain, and its expanded description into an empty text. IDX_OK or
// IDX_ERROR.
static int fillChain(ChainElement* chain, TextBlock* text, int slot)
{
    ChainResult result;
    if (findChain(currentName(), slot) != COGO_OK) return IDX_ERROR;
    if (readChain(&result, slot) != COGO_OK) return IDX_ERROR;
    setMember(chain->name, result.name);
    setMember(chain->secondaryCode, result.secondaryCode);
    setMember(chain->noteText, result.noteText);

    char description[sizeof result.description + 1];
    size_t length = std::strlen(result.description);
    std::memcpy(description, result.description, length);
    description[length] = '\n';
    description[length + 1] = '\0';
    return expandReferences(text, description, slot);
}

ChainElement* buildChain(int slot)
{
    ChainElement* chain = static_cast<ChainElement*>(allocateZeroed(1, sizeof(ChainElement)));
    if (chain == nullptr) return nullptr;
    TextBlock text;
    int result = beginText(&text, EXPANDED_ROOM);
    if (result == IDX_OK) result = fillChain(chain, &text, slot);
    if (result == IDX_OK) result = addMembers(chain, text.text, slot);
    releaseText(&text);
    if (result == IDX_OK) return chain;
    releaseElement(ELEMENT_CHAIN, chain);
    return nullptr;
}
