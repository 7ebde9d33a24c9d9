// Measured figures, and the table that they are printed in.
#pragma once

#include <string>
#include <vector>

double Median(std::vector<double> values);
// The quantile: the value that this share of the values does not exceed, e.g. 0.99, or 1 for the
// maximum.
double Quantile(std::vector<double> values, double share);

// "3.42 ms" and the like, of seconds; "192 B"; "4,404 kB".
std::string Milliseconds(double seconds);
std::string Microseconds(double seconds);
std::string Number(double number, const std::string& unit);

// A line of the table. An exact figure does not depend on how busy the computer is.
struct Figure {
    std::string what;
    std::string floor = {};
    std::string program = {};
    double measured = 0;  // compared with the goal
    double most = -1;     // the goal; negative: none
    std::string unit = "times";
    bool exact = false;

    bool HasGoal() const { return most >= 0; }
    bool Met() const { return measured <= most; }
};

// The figures of a section as a markdown table.
std::string Table(const std::vector<Figure>& figures);
