#include "records/text.h"

static bool isDigit(char c) { return c >= '0' && c <= '9'; }

int64_t parseInt64(const char* text)
{
    text += std::strspn(text, " \t\n");
    const bool negative = *text == '-';
    if (*text == '-' || *text == '+') ++text;
    int64_t number = 0;
    for (; isDigit(*text); ++text) {
        const int digit = *text - '0';
        if (number > (INT64_MAX - digit) / 10) {
            number = INT64_MAX;
            break;
        }
        number = number * 10 + digit;
    }
    return negative ? -number : number;
}
