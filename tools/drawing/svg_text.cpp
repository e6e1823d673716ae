#include "tools/drawing/svg_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>

// Colours as they are, without variables, which viewers other than browsers do not know. The dark
// ones come last: some stop reading there.
// clang-format off
constexpr const char* STYLE =
    "svg{color-scheme:light dark;background:#ffffff;font-family:system-ui,sans-serif;"
    "font-size:12px}"
    "path,line{fill:none;stroke-width:1.2;vector-effect:non-scaling-stroke}"
    ".paper{fill:#ffffff}text{fill:#1d2733}.soft,.label{fill:#66727f}.label{font-size:10px}"
    ".title{font-size:18px;font-weight:600}.end{text-anchor:end}.middle{text-anchor:middle}"
    ".rule{stroke:#d9dee3}.axis,.link,.tangent{stroke:#66727f}.link{stroke-dasharray:5 4}"
    ".tangent{stroke-dasharray:2 3}.way1{stroke:#7a6a58}.way2{stroke:#c2410c}.turn{fill:#c2410c}"
    ".way3{stroke:#7c3aed}.way4,.grade{stroke:#0b66c3}.grade{stroke-width:2}"
    ".way4{stroke-width:2.4;stroke-opacity:.55}.way6{stroke:#15803d}"
    ".point{stroke:#1d2733;stroke-width:2.6;stroke-linecap:round}"
    "@media (prefers-color-scheme:dark){"
    "svg{background:#12181f}.paper{fill:#12181f}text{fill:#e6ebf0}.soft,.label{fill:#9aa7b4}"
    ".rule{stroke:#2c3742}.axis,.link,.tangent{stroke:#9aa7b4}.way1{stroke:#b8a48c}"
    ".way2{stroke:#fb923c}.turn{fill:#fb923c}.way3{stroke:#b794f6}"
    ".way4,.grade{stroke:#5aa9ff}.way6{stroke:#4ade80}.point{stroke:#e6ebf0}}";
// clang-format on

// Returns what stands for a character of markup, or null for any other.
static const char* entityFor(char character)
{
    switch (character) {
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '&':
        return "&amp;";
    case '"':
        return "&quot;";
    case '\'':
        return "&#39;";
    default:
        return nullptr;
    }
}

// The two code points that no document may hold.
static bool isNoCharacter(std::string_view text)
{
    return text.starts_with("\xEF\xBF\xBE") || text.starts_with("\xEF\xBF\xBF");
}

std::string escaped(std::string_view text)
{
    std::string result;
    for (size_t at = 0; at < text.size(); ++at) {
        auto code = static_cast<unsigned char>(text[at]);
        // Nor may it hold control characters: their pictures stand for them.
        if (const char* entity = entityFor(text[at])) {
            result += entity;
        } else if (code < 0x20) {
            result += "&#" + std::to_string(0x2400 + code) + ";";
        } else if (code == 0x7F) {
            result += "&#9249;";
        } else if (isNoCharacter(text.substr(at))) {
            result += "&#65533;";
            at += 2;
        } else {
            result += text[at];
        }
    }
    return result;
}

std::string fixed(double value, int decimals)
{
    char text[400];
    auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, decimals);
    std::string result(text, end.ptr);
    bool isZero = result.find_first_not_of("-0.") == std::string::npos;
    return isZero && result.front() == '-' ? result.substr(1) : result;
}

std::string plain(double value)
{
    constexpr int MOST_DECIMALS = 18;
    double decimals = std::ceil(-std::log10(value) - 1e-9);
    return fixed(value, static_cast<int>(std::clamp(decimals, 0.0, double{MOST_DECIMALS})));
}

std::string attribute(const char* name, std::string_view value)
{
    return std::string(" ") + name + "=\"" + escaped(value) + "\"";
}

std::string attribute(const char* name, double value) { return attribute(name, fixed(value, 2)); }

std::string beginSvg(double width, double height, const std::string& title)
{
    std::string size = fixed(width, 0) + " " + fixed(height, 0);
    return "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + size + "\"" +
           attribute("width", fixed(width, 0)) + attribute("height", fixed(height, 0)) +
           " role=\"img\">\n<title>" + escaped(title) + "</title>\n<style>" + STYLE +
           "</style>\n<rect width=\"100%\" height=\"100%\" class=\"paper\"/>\n";
}

std::string endSvg() { return "</svg>\n"; }

std::string textAt(double x, double y, const char* style, std::string_view text)
{
    return "<text" + attribute("x", x) + attribute("y", y) + attribute("class", style) + ">" +
           escaped(text) + "</text>\n";
}

std::string lineFromTo(double x1, double y1, double x2, double y2, const char* style)
{
    return "<line" + attribute("x1", x1) + attribute("y1", y1) + attribute("x2", x2) +
           attribute("y2", y2) + attribute("class", style) + "/>\n";
}

double roundedDown(double value)
{
    if (!(value > 0.0) || !std::isfinite(value)) return 0.0;
    double power = std::pow(10.0, std::floor(std::log10(value)));
    if (value >= 5 * power) return 5 * power;
    return value >= 2 * power ? 2 * power : power;
}

double oneDigit(double value)
{
    if (!(value > 0.0) || !std::isfinite(value)) return 0.0;
    double power = std::pow(10.0, std::floor(std::log10(value)));
    return std::floor(value / power) * power;
}

std::vector<double> ticksBetween(double low, double high, int about, int* decimals)
{
    std::vector<double> ticks;
    *decimals = 0;
    // Just above the even share, so that there are not twice as many as asked for.
    double step = roundedDown((high - low) / about * 2);
    if (step == 0.0) return ticks;
    *decimals = std::clamp(static_cast<int>(std::ceil(-std::log10(step) - 1e-9)), 0, 9);
    double first = std::ceil(low / step);
    constexpr double MOST_TICKS = 100;
    int last = static_cast<int>(std::clamp(std::floor(high / step) - first, -1.0, MOST_TICKS));
    for (int at = 0; at <= last; ++at) {
        ticks.push_back((first + at) * step);
    }
    return ticks;
}

bool takeLabelPlace(LabelGrid* grid, double x, double y)
{
    long column = std::lround(x / grid->cellWidth);
    long row = std::lround(y / grid->cellHeight);
    auto& taken = grid->taken;
    for (long otherRow = row - 1; otherRow <= row + 1; ++otherRow) {
        for (long otherColumn = column - 1; otherColumn <= column + 1; ++otherColumn) {
            if (std::binary_search(taken.begin(), taken.end(),
                                   std::make_pair(otherRow, otherColumn))) {
                return false;
            }
        }
    }
    auto cell = std::make_pair(row, column);
    taken.insert(std::lower_bound(taken.begin(), taken.end(), cell), cell);
    return true;
}
