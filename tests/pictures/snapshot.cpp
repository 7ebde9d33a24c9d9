#include "snapshot.h"

namespace pictures {

Snapshot TakeSnapshot(const harness::Terminal& terminal) {
    Snapshot shot;
    shot.rows = terminal.rows();
    shot.cols = terminal.cols();
    for (int row = 0; row < shot.rows; row++) {
        for (int col = 0; col < shot.cols; col++)
            shot.cells.push_back(terminal.Cell(row, col));
    }
    if (terminal.CursorVisible()) {
        shot.cursor_row = terminal.CursorRow();
        shot.cursor_col = terminal.CursorCol();
    }
    return shot;
}

}  // namespace pictures
