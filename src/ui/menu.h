// The list that every screen shows: rows, one of them selected. The cursor keys, hot keys and the
// mouse move the selection; ENTER or a click on the selected row activates it.
//
//     Menu menu;
//     menu.Init();
//     menu.SetHotKey(menu.AddItem("Back to main menu", 1), 'b');
//     ...
//     if (menu.HandleKey(ReadKey()) == Menu::kActivate) Act(menu.ItemAt(menu.selection));
//
// Rows are drawn only on the standard screen. The screen loop (ui/screen_loop.h) clears the screen,
// prints the title, calls Draw and refreshes; after a key the menu itself repaints the rows that
// have changed. Invalid indices are ignored.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// A row.
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
    std::string name;     // what a row of a list shows, as its id is only its position; or empty
    std::int32_t id = 0;  // chosen by the screen
    std::int32_t hot_key = 0;  // lower-case letter or digit; 0: none
    std::uint8_t flags = 0;
};

class Menu {
  public:
    // The effect of a key.
    enum Result { kNotTaken = 0, kConsumed = 1, kActivate = 2 };

    // Sets the members below to their defaults, for the current size of the terminal; keeps the
    // rows.
    void Init();

    const MenuItem* ItemAt(int index) const;  // null if there is no such row
    int Count() const { return static_cast<int>(items.size()); }

    // These return the index of the new row.
    int AddBlank();
    int AddItem(std::string_view label, int id);
    int AddSeparator();                                  // an empty row: dim, unselectable
    int AddInformation(std::string_view label, int id);  // an information row: dim, unselectable
    void Clear();

    void SetHotKey(int index, int key);
    void SetName(int index, std::string_view name);
    void SetMarked(int index, bool on);
    void SetPosition(int column, int line);
    void SetSize(int columns, int lines);

    bool NeedsRedraw() const { return redraw; }
    void ClearRedraw() { redraw = false; }
    // If the screen has removed all rows, its loop ends.
    bool IsRunning() const { return running && !items.empty(); }

    // Draw all visible rows, or one row; without refresh().
    void Draw() const;
    void DrawItem(int index) const;
    // Puts the cursor at the start of the selected row's text. Call it last before refresh(): even
    // a hidden cursor guides braille displays and screen readers.
    void PlaceCursor() const;

    // Handles a key (also ERR and KEY_MOUSE): moves the selection, scrolls to keep it visible,
    // repaints what changed, and turns a click armed by HandleMouse into an activation.
    Result HandleKey(int key);
    // Handles the pending mouse event: hover, selection, arming a click. Call it when ReadKey
    // returns KEY_MOUSE, before passing that key to HandleKey.
    void HandleMouse();
    // Move the selection by `steps` selectable rows, wrapping around.
    void MoveUp(int steps);
    void MoveDown(int steps);
    // After a rebuild: selects the row that corresponds to `row`, the one selected before. If there
    // is none, the selection keeps its index, but does not move from an information row to a row
    // with an action.
    void FollowRow(const MenuItem& row);
    // After rows have disappeared or the size has changed: selects the last row if the selected one
    // is gone, and shows as many rows as fit.
    void FitView();
    // Selects the next row with this hot key, after the selected one and wrapping around; -1 if
    // none.
    int SelectByHotKey(int key);

    std::vector<MenuItem> items;
    bool inactive = false;  // drawn without keyboard focus
    int selection = 0;
    bool redraw = true;  // everything must be repainted
    int top = 0;         // the first visible row
    bool running = true;
    int width = 0;   // columns of a row
    int height = 0;  // visible rows
    int x = 4;       // position of the first visible row
    int y = 4;
    int click_pending = -1;  // 1 while a click waits to become an activation
    double click_time = 0;   // time of the click, from now_seconds

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
