// The text of an SVG file, put together piece by piece.
//
// For tools/drawing/.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Returns a UTF-8 text as it stands in a document: markup and control characters do nothing there.
std::string escaped(std::string_view text);

// Returns a number with so many decimals, a point in every locale, and no sign when it is 0.
std::string fixed(double value, int decimals);

// Returns a number above 0 that has one digit, and zeros.
std::string plain(double value);

// Attributes, with a blank before each.
std::string attribute(const char* name, std::string_view value);
std::string attribute(const char* name, double value); // with two decimals

// Begins a document of a size, with its style; endSvg ends it.
std::string beginSvg(double width, double height, const std::string& title);
std::string endSvg();

std::string textAt(double x, double y, const char* style, std::string_view text);
std::string lineFromTo(double x1, double y1, double x2, double y2, const char* style);

// The largest of 1, 2 and 5 times a power of ten that is at most the value; 0 for what has none.
double roundedDown(double value);

// The largest number of one digit that is at most the value; 0 for what has none.
double oneDigit(double value);

// Returns places on an axis from low to high, at even distances of 1, 2 or 5 times a power of
// ten, about as many as asked for. *decimals is how many a label needs.
std::vector<double> ticksBetween(double low, double high, int about, int* decimals);

// Where labels already stand, so that others leave them readable.
struct LabelGrid {
    double cellWidth;
    double cellHeight;
    std::vector<std::pair<long, long>> taken; // in order
};

// Takes the cell at a place. False when a label stands there, or in a cell beside it.
bool takeLabelPlace(LabelGrid* grid, double x, double y);
