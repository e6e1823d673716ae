#include "survey/point_name.h"

#include <algorithm>
#include <cstring>

// Blanks are removed from this many characters at the beginning of a name.
constexpr int CHARACTERS_FREED_OF_BLANKS = 16;

constexpr size_t LONGEST_KEY_READ = 31; // a longer key is cut before its name is taken

static bool isDigit(char c) { return c >= '0' && c <= '9'; }

static bool isLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

bool isAllDigits(const char* text) { return text[0] != '\0' && trailingDigitsStart(text) == 0; }

int trailingDigitsStart(const char* text)
{
    size_t start = std::strlen(text);
    while (start > 0 && isDigit(text[start - 1])) {
        --start;
    }
    return static_cast<int>(start);
}

int splitPointName(const char* text, char* prefix, char* number)
{
    size_t length = std::strlen(text);
    if (std::strspn(text, "0") == length) return SPLIT_NO_NUMBER;
    size_t start = static_cast<size_t>(trailingDigitsStart(text));
    if (start == length) return SPLIT_NO_NUMBER;
    for (size_t i = 0; i < start; ++i) {
        if (!isLetter(text[i])) return SPLIT_NO_PREFIX;
    }
    if (length >= SPLIT_NAME_ROOM) return SPLIT_OUT_OF_RANGE;
    if (parseInt64(text + start) == 0) return SPLIT_OUT_OF_RANGE;
    copyText(prefix, start + 1, text);
    copyText(number, length - start + 1, text + start);
    return SPLIT_OK;
}

// Writes the digits right-justified, cut to SURVEY_NAME_LENGTH characters.
static void justifyDigits(char* key, const char* digits)
{
    size_t length = std::strlen(digits);
    if (length > SURVEY_NAME_LENGTH) length = SURVEY_NAME_LENGTH;
    std::memset(key, ' ', SURVEY_NAME_LENGTH);
    std::memcpy(key + SURVEY_NAME_LENGTH - length, digits, length);
    key[SURVEY_NAME_LENGTH] = '\0';
}

int buildPointNameKey(char* key, const char* name)
{
    if (isAllDigits(name)) {
        justifyDigits(key, name);
        return SURVEY_OK;
    }
    char prefix[SPLIT_NAME_ROOM];
    char digits[SPLIT_NAME_ROOM];
    int failure = splitPointName(name, prefix, digits);
    if (failure != SPLIT_OK) return failure;
    justifyDigits(key, digits);
    std::copy_n(prefix, std::strlen(prefix), key);
    return SURVEY_OK;
}

void removeBlanks(char* name) { *std::remove(name, name + std::strlen(name), ' ') = '\0'; }

size_t nameOfKey(char* name, size_t room, const char* key)
{
    while (*key == ' ') {
        ++key;
    }
    size_t length = 0;
    for (size_t i = 0; key[i] != '\0' && i < LONGEST_KEY_READ; ++i) {
        bool counts = key[i] != ' ' || i >= CHARACTERS_FREED_OF_BLANKS;
        if (counts && length + 1 < room) name[length++] = key[i];
    }
    name[length] = '\0';
    return length;
}
