// The rows of a screen as a table with one line per row:
//
//     constexpr Row<State> kRows[] = {
//         // label             id  key  action
//         {"Show resolv.conf", 11, 'r', ShowResolverConfiguration},
//         {"%s web server",    29, 'w', ToggleWebServer, {.word = StartOrStop}},
//         kSeparator<State>,
//         {"Main menu",        1,  'm', Leave},
//     };
//     static_assert(AreSound(kRows));
//
// A list of varying length (interfaces, networks, accounts, servers) also takes one line: the
// function that adds its rows, and the id of the first.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "ui/menu.h"

// What a screen needs after an action.
enum class Next {
    Stay,     // nothing
    Paint,    // a repaint: something else was drawn over it
    Rebuild,  // a rebuild: what its rows show may have changed
    Leave,
};

// The columns that few rows need.
template <typename State>
struct RowOptions {
    std::string (*word)(const State&) = nullptr;  // replaces "%s" in the label
    bool (*shown)(const State&) = nullptr;        // none: always
    bool (*closed)(const State&) = nullptr;       // shown, but can't be selected
    bool (*warning)(const State&) = nullptr;      // drawn as a warning
    Next (*turn)(State&) = nullptr;               // for the left and right keys and the space bar
    const char* name = "";                        // shared by rows that are shown alternatively
    const char* help = "";                        // help text, with lines separated by "\n"

    // For a list: add_list adds rows with ids counting up from `id`; `open` acts on the first
    // `most`.
    void (*add_list)(Menu& menu, const State& state) = nullptr;
    Next (*open)(State& state, std::size_t index) = nullptr;
    int most = 0;
};

template <typename State>
struct Row {
    const char* label;  // "": a separator, or a list
    int id;
    int hot_key;  // 0: none
    Next (*act)(State&);
    RowOptions<State> options = {};

    // The number of ids it takes.
    constexpr int Ids() const { return options.add_list != nullptr ? options.most : 1; }
};

template <typename State>
constexpr Row<State> kSeparator = {"", 0, 0, nullptr};

template <typename State>
Next Leave(State&) {
    return Next::Leave;
}

// ---- checks at compile time ----

// With sanitizers, g++ does not accept the address of a template as a constant, so tables are not
// checked.
#ifdef __SANITIZE_ADDRESS__
inline constexpr bool kTablesAreChecked = false;
#else
inline constexpr bool kTablesAreChecked = true;
#endif

template <typename State>
constexpr bool IsSound(const Row<State>& row) {
    const bool is_key = (row.hot_key >= 'a' && row.hot_key <= 'z') ||
                        (row.hot_key >= '0' && row.hot_key <= '9') || row.hot_key == 0;
    const std::string_view label = row.label;
    const bool has_word = label.find("%s") != std::string_view::npos;
    if (label.empty()) return row.hot_key == 0 && row.act == nullptr;
    return is_key && row.id > 0 && (row.act != nullptr || row.options.turn != nullptr) &&
           has_word == (row.options.word != nullptr);
}

// Whether no two rows share an id, every hot key is a lower-case letter or a digit, every row has
// an action, and a label has "%s" exactly if there is a word for it.
template <typename State>
constexpr bool AreSound(std::span<const Row<State>> rows) {
    for (std::size_t i = 0; kTablesAreChecked && i < rows.size(); ++i) {
        if (!IsSound(rows[i])) return false;
        for (std::size_t j = 0; j < i && rows[i].id != 0; ++j) {
            const bool apart = rows[i].id + rows[i].Ids() <= rows[j].id ||
                               rows[j].id + rows[j].Ids() <= rows[i].id;
            if (rows[j].id != 0 && !apart) return false;
        }
    }
    return true;
}

template <typename State, std::size_t kCount>
constexpr bool AreSound(const Row<State> (&rows)[kCount]) {
    return AreSound(std::span<const Row<State>>(rows));
}

// ---- use ----

template <typename State>
void AddRow(Menu& menu, const Row<State>& row, const State& state) {
    const RowOptions<State>& options = row.options;
    if (options.add_list != nullptr) return options.add_list(menu, state);
    std::string label = row.label;
    if (label.empty()) {
        menu.AddSeparator();
        return;
    }
    if (options.word != nullptr) label.replace(label.find("%s"), 2, options.word(state));
    const bool closed = options.closed != nullptr && options.closed(state);
    const int index = closed ? menu.AddInformation(label, row.id) : menu.AddItem(label, row.id);
    menu.SetHotKey(index, row.hot_key);
    menu.SetName(index, options.name);
    menu.SetMarked(index, options.warning != nullptr && options.warning(state));
}

template <typename State>
void AddRows(Menu& menu, std::span<const Row<State>> rows, const State& state) {
    for (const Row<State>& row : rows) {
        if (row.options.shown == nullptr || row.options.shown(state)) AddRow(menu, row, state);
    }
}

// The row with that id, or the list that contains it; null if there is none.
template <typename State>
const Row<State>* RowWithId(std::span<const Row<State>> rows, int id) {
    for (const Row<State>& row : rows) {
        if (row.id > 0 && id >= row.id && id < row.id + row.Ids()) return &row;
    }
    return nullptr;
}

// Runs the action of the row with that id, if it has one.
template <typename State>
Next Act(std::span<const Row<State>> rows, int id, State& state) {
    const Row<State>* row = RowWithId(rows, id);
    if (row == nullptr) return Next::Stay;
    if (row->options.open != nullptr) {
        return row->options.open(state, static_cast<std::size_t>(id - row->id));
    }
    return row->act != nullptr ? row->act(state) : Next::Stay;
}

template <typename State>
Next Turn(std::span<const Row<State>> rows, int id, State& state) {
    const Row<State>* row = RowWithId(rows, id);
    return row != nullptr && row->options.turn != nullptr ? row->options.turn(state) : Next::Stay;
}

template <typename State>
std::string_view HelpOf(std::span<const Row<State>> rows, int id) {
    const Row<State>* row = RowWithId(rows, id);
    return row != nullptr ? row->options.help : "";
}
