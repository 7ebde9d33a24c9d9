#include "report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

std::string Format(const char* format, double number, const std::string& unit) {
    char text[64];
    std::snprintf(text, sizeof text, format, number);
    return unit.empty() ? text : text + (" " + unit);
}

std::string Measured(double number, const std::string& unit) {
    return Format(unit == "times" ? "%.2f" : "%.3g", number, unit == "times" ? "" : unit);
}

std::string Line(const Figure& figure) {
    std::string line = "| " + figure.what + " | " + figure.floor + " | " + figure.program + " | ";
    if (!figure.HasGoal()) return line + "| | |\n";
    return line + Measured(figure.measured, figure.unit) + " | " +
           Measured(figure.most, figure.unit) + " | " + (figure.Met() ? "met" : "**not met**") +
           " |\n";
}

}  // namespace

double Quantile(std::vector<double> values, double share) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    const double place = std::ceil(share * static_cast<double>(values.size())) - 1;
    return values[static_cast<size_t>(std::max(0.0, place))];
}

double Median(std::vector<double> values) {
    return Quantile(std::move(values), 0.5);
}

std::string Milliseconds(double seconds) {
    return Format("%.2f", seconds * 1e3, "ms");
}

std::string Microseconds(double seconds) {
    return Format("%.0f", seconds * 1e6, "µs");
}

std::string Number(double number, const std::string& unit) {
    return Format("%.6g", number, unit);
}

std::string Table(const std::vector<Figure>& figures) {
    std::string table =
        "| | Floor | ifmenu | Measured | Goal: at most | |\n"
        "|---|---|---|---|---|---|\n";
    for (const Figure& figure : figures)
        table += Line(figure);
    return table;
}
