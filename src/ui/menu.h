// The selectable list that every screen is built on: rows, one of them selected, moved through with
// the cursor keys, hot keys and the mouse, activated with ENTER or a click on the selected row.
//
//     Menu menu;
//     menu.Init();
//     menu.SetHotKey(menu.AddItem("Back to main menu", 1), 'b');
//     ...
//     if (menu.HandleKey(ReadKey()) == Menu::kActivate) Act(menu.ItemAt(menu.selection));
//
// Rows are drawn on the standard screen only. The screen (ui/screen_loop.h) clears, prints its
// title, calls Draw and refreshes; after a key the menu repaints the rows that the key changed.
// A bad index is ignored everywhere.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// One row.
struct MenuItem {
    enum Flag : std::uint8_t {
        kDim = 1,           // drawn dim, never hit by the mouse
        kUnselectable = 2,  // skipped by the arrow keys and by hot keys
        kHover = 4,         // the pointer is on the row
        kMarked = 8,        // a warning, drawn red
    };

    bool Has(Flag flag) const { return (flags & flag) != 0; }
    void Set(Flag flag, bool on);

    std::string label;
    std::string name;          // what a list's row stands for, whose id is only its place; or empty
    std::int32_t id = 0;       // the screen's own code for the row
    std::int32_t hot_key = 0;  // lower-case letter or digit; 0: none
    std::uint8_t flags = 0;
};

class Menu {
  public:
    // What HandleKey makes of a key.
    enum Result { kNotTaken = 0, kConsumed = 1, kActivate = 2 };

    // Sets all below to its default, for the terminal's present size; leaves the rows.
    void Init();

    const MenuItem* ItemAt(int index) const;  // null when there is no such row
    int Count() const { return static_cast<int>(items.size()); }

    // Each returns the new row's index.
    int AddBlank();
    int AddItem(std::string_view label, int id);
    int AddSeparator();                                  // an empty row, dim and unselectable
    int AddInformation(std::string_view label, int id);  // a row to read: dim and unselectable
    void Clear();

    void SetHotKey(int index, int key);
    void SetName(int index, std::string_view name);
    void SetMarked(int index, bool on);
    void SetPosition(int column, int line);
    void SetSize(int columns, int lines);

    bool NeedsRedraw() const { return redraw; }
    void ClearRedraw() { redraw = false; }
    // A menu that its screen has emptied ends its loop.
    bool IsRunning() const { return running && !items.empty(); }

    // Draws the visible rows, or one row; no refresh().
    void Draw() const;
    void DrawItem(int index) const;
    // Puts the cursor at the beginning of the selected row's text, the last thing before a
    // refresh(): hidden or not, it is what braille displays and screen readers go by.
    void PlaceCursor() const;

    // Takes one key (ERR and KEY_MOUSE too), moves the selection, scrolls so that it is visible,
    // repaints what changed, and turns a click armed by HandleMouse into an activation.
    Result HandleKey(int key);
    // Takes the pending mouse event: hover, selection, arming of a click. When ReadKey gave
    // KEY_MOUSE, before that key goes to HandleKey.
    void HandleMouse();
    // Moves the selection by `steps` selectable rows, wrapping around.
    void MoveUp(int steps);
    void MoveDown(int steps);
    // After the rows were made anew: selects the one that stands for what `row`, the one selected
    // before, stood for. Where it is gone the selection keeps its place, but does not come from a
    // row that does nothing to one that acts.
    void FollowRow(const MenuItem& row);
    // After rows have gone or the size has changed: selects the last row when the selected one is
    // gone, and shows as many rows as fit.
    void FitView();
    // Selects the next row, after the selected one and around, that bears the key; -1 if none does.
    int SelectByHotKey(int key);

    std::vector<MenuItem> items;
    bool inactive = false;  // drawn as a list that does not have the keyboard
    int selection = 0;
    bool redraw = true;  // everything must be painted again
    int top = 0;         // the first visible row
    bool running = true;
    int width = 0;   // columns of a row
    int height = 0;  // visible rows
    int x = 4;       // where the first visible row begins
    int y = 4;
    int click_pending = -1;  // 1 while a click waits to become an activation
    double click_time = 0;   // when it was made, as now_seconds tells

  private:
    void Show() const;
    Result TakeKey(int key);
    void Step(int direction);
    void PageUp();
    void PageDown();
    void KeepVisible();
    bool IsHit(int index, int line, int column) const;
    int RowAt(int line, int column) const;
    void SetHover(int line, int column);
    void SelectAt(int line, int column);
    void ArmClick(int line, int column);
    unsigned RowAttribute(int index) const;
};
