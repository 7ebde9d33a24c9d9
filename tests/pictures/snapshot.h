// The contents of a terminal at one moment: its cells and its cursor.
#pragma once

#include <vector>

#include "emulator.h"
#include "terminal.h"

namespace pictures {

struct Snapshot {
    int rows = 0, cols = 0;
    std::vector<harness::Cell> cells;      // row by row
    int cursor_row = -1, cursor_col = -1;  // -1: hidden

    const harness::Cell& At(int row, int col) const {
        return cells.at(static_cast<size_t>(row) * static_cast<size_t>(cols) +
                        static_cast<size_t>(col));
    }
};

Snapshot TakeSnapshot(const harness::Terminal& terminal);

}  // namespace pictures
