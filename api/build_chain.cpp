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

// Types of tokens beside the CHAIN_MEMBER_... kinds.
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
constexpr size_t REFERENCE_KEYWORD_LENGTH = 4; // with the blank behind it
constexpr size_t WORD_ROOM = 256;
constexpr size_t FIRST_EXPANDED_ROOM = 12500;
// A few thousand references of a small file could stand for gigabytes of members. With so
// many characters a chain has 65,536 members at most.
constexpr size_t EXPANDED_LIMIT = 131072;
// Room made for members before it is known that they exist.
constexpr size_t MOST_ROOM_AHEAD = 2048;

// What became of a member that was to be appended.
constexpr int MEMBER_ADDED = 0;
constexpr int MEMBER_MISSING = 1;
constexpr int MEMBER_UNREADABLE = 2;
constexpr int MEMBER_NO_MEMORY = 3;

// A member of the description.
struct Token {
    int type;             // CHAIN_MEMBER_... or TOKEN_...
    char name[WORD_ROOM]; // for the types that have one
    bool nameFits;
};

// A reference in a description: the letters "CHA", and the name of the chain behind them.
struct Reference {
    const char* begin;    // of the letters
    char name[WORD_ROOM]; // when it fits
    bool nameFits;        // a longer one is that of no chain
    const char* nameEnd;
    const char* rest; // the blank from which the description goes on, or null at its end
};

// The description of a chain while the references in it are replaced.
struct Expansion {
    RecordFile* job;
    TextBlock* text;
    bool unresolved; // a chain that is referred to cannot be read
};

// A chain while its members are appended, which stand behind it in its block.
struct MemberList {
    RecordFile* job;
    ChainElement* chain;
    size_t room; // members that the block has room for
    size_t count;
};
static_assert(sizeof(ChainElement) % alignof(ChainMember) == 0);

static bool isWhiteSpace(char character)
{
    return character != '\0' && std::strchr(" \t\n\v\f\r", character) != nullptr;
}

// Returns the first word at or after text, up to the next white space; *end becomes the place
// behind its last character. At the end of the text the word is empty.
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

// Copies a word into WORD_ROOM bytes. Returns false, with nothing copied, when it does not fit.
static bool copyWord(char* name, const char* word, const char* end)
{
    size_t length = static_cast<size_t>(end - word);
    if (length >= WORD_ROOM) return false;
    std::memcpy(name, word, length);
    name[length] = '\0';
    return true;
}

// -- References --------------------------------------------------------------

// Returns IDX_OK, or IDX_ERROR when the text would exceed its limit or there is no memory.
static int appendExpanded(TextBlock* text, const char* added, size_t length)
{
    if (length > EXPANDED_LIMIT - text->length) return IDX_ERROR;
    return appendText(text, added, length);
}

// Appends the description of the chain, or nothing when there is no such chain or it cannot be
// read. Returns as appendExpanded; IDX_ERROR also when that cannot be told, or when reading the
// chain has to write, which a bracket for reading has refused.
static int appendDescription(Expansion* expansion, const char* name)
{
    RecordFile* job = expansion->job;
    ChainResult result;
    if (findChain(job, name) != COGO_OK) return fileOf(job)->trouble ? IDX_ERROR : IDX_OK;
    if (readChain(job, name, &result) != COGO_OK) {
        expansion->unresolved = true;
        return hasToWrite(job) || fileOf(job)->trouble ? IDX_ERROR : IDX_OK;
    }
    size_t length = std::strlen(result.description);
    while (length > 0 && result.description[length - 1] == BLANK) {
        --length;
    }
    return appendExpanded(expansion->text, result.description, length);
}

// Finds the first reference in the text, which need not stand at the begin of a word. False
// when there is none. Expects at least one character behind the last letters "CHA".
static bool findReference(const char* text, Reference* reference)
{
    const char* begin = std::strstr(text, REFERENCE);
    if (begin == nullptr) return false;
    const char* behind = begin + REFERENCE_KEYWORD_LENGTH;
    const char* word = findWord(behind, &reference->nameEnd);
    reference->begin = begin;
    reference->nameFits = copyWord(reference->name, word, reference->nameEnd);

    // With a blank behind them the letters are a keyword, and the description goes on behind
    // the name, however many blanks stand before that. Letters inside a word are no keyword:
    // the name, which is then the next word, stays as a member of its own.
    bool isKeyword = begin[REFERENCE_KEYWORD_LENGTH - 1] == BLANK;
    reference->rest = std::strchr(isKeyword ? reference->nameEnd : behind, BLANK);
    return true;
}

// Appends the text up to the reference, and the description that takes the reference's place.
// Returns as appendDescription.
static int replaceReference(Expansion* expansion, const char* text, const Reference* reference)
{
    if (!reference->nameFits) {
        // The reference is kept, and becomes an unresolved member.
        const char* end = reference->rest != nullptr ? reference->rest : reference->nameEnd;
        return appendExpanded(expansion->text, text, static_cast<size_t>(end - text));
    }
    // The character before the letters goes with them: the blank that separates the members.
    const char* end = reference->begin > text ? reference->begin - 1 : text;
    size_t length = static_cast<size_t>(end - text);
    if (appendExpanded(expansion->text, text, length) != IDX_OK) return IDX_ERROR;
    return appendDescription(expansion, reference->name);
}

// Copies the description, with each reference replaced by the description of the chain that it
// names. References in that one stay. Expects the description to end with a newline. Returns
// as appendDescription.
static int expandReferences(Expansion* expansion, const char* description)
{
    Reference reference;
    const char* cursor = description;
    while (cursor != nullptr) {
        if (!findReference(cursor, &reference)) {
            return appendExpanded(expansion->text, cursor, std::strlen(cursor));
        }
        if (replaceReference(expansion, cursor, &reference) != IDX_OK) return IDX_ERROR;
        cursor = reference.rest;
    }
    return IDX_OK;
}

// -- Tokenizer ---------------------------------------------------------------

// Takes the white space off both ends of the text, in place. Returns where its first member
// begins, or null when there is none.
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

static const char* skipBlanks(const char* text)
{
    while (*text == BLANK) {
        ++text;
    }
    return text;
}

// Returns the keyword with which the text begins, or null.
static const Keyword* keywordAt(const char* text)
{
    for (const Keyword& keyword : KEYWORDS) {
        if (std::strncmp(text, keyword.text, std::strlen(keyword.text)) == 0) return &keyword;
    }
    return nullptr;
}

// Takes the member at the cursor. Returns where the next one begins, or null behind the last.
static const char* takeToken(const char* cursor, Token* token)
{
    cursor = skipBlanks(cursor);
    const Keyword* keyword = keywordAt(cursor);
    token->type = keyword != nullptr ? keyword->type : CHAIN_MEMBER_POINT;

    const char* end = cursor;
    if (keyword == nullptr || keyword->hasName) {
        const char* nameFrom = keyword != nullptr ? cursor + std::strlen(keyword->text) : cursor;
        const char* word = findWord(nameFrom, &end);
        token->nameFits = copyWord(token->name, word, end);
    }
    const char* blank = std::strchr(end, BLANK);
    return blank != nullptr ? skipBlanks(blank) : nullptr;
}

// -- Members -----------------------------------------------------------------

// True when the element that a member of the kind is to carry exists, whose record is then the
// current one; *found becomes its name.
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

// Fills the payload from the element just found. Returns IDX_OK or IDX_ERROR.
static int fillMember(RecordFile* job, const char* name, ChainMember* member)
{
    switch (member->memberKind) {
    case CHAIN_MEMBER_POINT:
        return fillPoint(job, name, &member->payload.point);
    case CHAIN_MEMBER_CURVE:
        return fillCurve(job, &member->payload.curve);
    case CHAIN_MEMBER_SPIRAL:
        return fillSpiral(job, &member->payload.spiral);
    default:
        return IDX_OK;
    }
}

static ChainMember* membersOf(ChainElement* chain)
{
    return reinterpret_cast<ChainMember*>(chain + 1);
}

// Makes the block one for so many members, with those that it has. Returns IDX_OK or IDX_ERROR.
static int makeRoom(MemberList* list, size_t members)
{
    auto blockSize = [](size_t count) {
        return sizeof(ChainElement) + count * sizeof(ChainMember);
    };
    if (members == list->room) return IDX_OK;
    void* block = reallocate(list->chain, blockSize(list->room), blockSize(members));
    if (block == nullptr) return IDX_ERROR;
    list->chain = static_cast<ChainElement*>(block);
    list->room = members;
    return IDX_OK;
}

// Adds one member. The name counts only for kinds that carry an element. Returns MEMBER_...
static int addMember(MemberList* list, int kind, const char* name)
{
    ElementName found;
    if (!findMember(list->job, kind, name, &found)) return MEMBER_MISSING;
    bool full = list->count == list->room;
    if (full && makeRoom(list, 2 * list->room) != IDX_OK) return MEMBER_NO_MEMORY;
    ChainMember* member = membersOf(list->chain) + list->count;
    member->memberKind = kind;
    if (fillMember(list->job, found.text, member) != IDX_OK) {
        std::memset(member, 0, sizeof *member); // the next one is filled in its place
        return MEMBER_UNREADABLE;
    }
    ++list->count;
    return MEMBER_ADDED;
}

// Gives back the room behind the members and makes them a list. Returns IDX_OK or IDX_ERROR.
static int linkMembers(MemberList* list)
{
    if (makeRoom(list, list->count) != IDX_OK) return IDX_ERROR;
    ChainMember** link = &list->chain->firstMember;
    for (size_t i = 0; i < list->count; ++i) {
        *link = membersOf(list->chain) + i;
        link = &(*link)->next;
    }
    return IDX_OK;
}

// Adds those members of a group that exist, and passes the others over. Returns MEMBER_ADDED,
// MEMBER_UNREADABLE or MEMBER_NO_MEMORY.
static int addGroup(MemberList* list, const char* name)
{
    int result = MEMBER_ADDED;
    for (const GroupPart& part : GROUP_PARTS) {
        char partName[WORD_ROOM + 1];
        std::snprintf(partName, sizeof partName, "%s%s", name, part.suffix);
        int added = addMember(list, part.kind, partName);
        if (added == MEMBER_NO_MEMORY) return MEMBER_NO_MEMORY;
        if (added == MEMBER_UNREADABLE) result = MEMBER_UNREADABLE;
    }
    return result;
}

// Adds what the token stands for. A reference that is left in an expanded description is not
// followed. Returns MEMBER_...
static int addToken(MemberList* list, const Token* token)
{
    switch (token->type) {
    case CHAIN_MEMBER_GAP:
    case CHAIN_MEMBER_SHIFT:
        return addMember(list, token->type, "");
    case TOKEN_REFERENCE:
        return MEMBER_MISSING;
    case TOKEN_GROUP:
        return token->nameFits ? addGroup(list, token->name) : MEMBER_MISSING;
    default:
        return token->nameFits ? addMember(list, token->type, token->name) : MEMBER_MISSING;
    }
}

// Room for a member for each word of the text; groups may need more.
static size_t roomAhead(const char* text)
{
    size_t words = 1;
    for (const char* blank = std::strchr(text, BLANK); blank != nullptr;) {
        ++words;
        blank = std::strchr(skipBlanks(blank), BLANK);
    }
    return words < MOST_ROOM_AHEAD ? words : MOST_ROOM_AHEAD;
}

// Adds all members of the expanded description. Returns IDX_OK, or IDX_ERROR when there is no
// memory or it cannot be told what some member is.
static int addMembers(MemberList* list, char* text)
{
    Token token = {};
    const char* cursor = startTokens(text);
    if (cursor != nullptr && makeRoom(list, roomAhead(cursor)) != IDX_OK) return IDX_ERROR;
    while (cursor != nullptr) {
        cursor = takeToken(cursor, &token);
        int added = addToken(list, &token);
        if (added != MEMBER_ADDED) list->chain->unresolvedMembers = 1;
        if (added == MEMBER_NO_MEMORY || fileOf(list->job)->trouble) return IDX_ERROR;
    }
    return linkMembers(list);
}

// Reads the chain, and expands its description into an empty text. Returns IDX_OK or IDX_ERROR.
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
    Expansion expansion = {job, text, false};
    int expanded = expandReferences(&expansion, description);
    chain->unresolvedMembers = expansion.unresolved ? 1 : 0;
    return expanded;
}

ChainElement* buildChain(RecordFile* job, const Reached& reached)
{
    ChainElement* chain = static_cast<ChainElement*>(allocateZeroed(1, sizeof(ChainElement)));
    if (chain == nullptr) return nullptr;
    TextBlock text;
    int result = beginText(&text, FIRST_EXPANDED_ROOM);
    if (result == IDX_OK) result = fillChain(job, reached.name.text, chain, &text);
    MemberList list = {job, chain, 0, 0};
    if (result == IDX_OK) result = addMembers(&list, text.text);
    releaseText(&text);
    if (result == IDX_OK) return list.chain;
    releaseElement(ELEMENT_CHAIN, list.chain);
    return nullptr;
}
