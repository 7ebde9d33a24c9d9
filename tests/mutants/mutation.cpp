#include "mutants/mutation.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <initializer_list>
#include <optional>
#include <utility>

namespace {

enum class Kind { kWord, kNumber, kString, kCharacter, kSign };

struct Token {
    Kind kind;
    std::size_t begin;
    std::size_t end;
    std::string_view text;
};

constexpr std::string_view kLongSigns[] = {
    "<=>", "<<=", ">>=", "...", "->*", "==", "!=", "<=", ">=", "&&", "||", "->",
    "::",  "++",  "--",  "+=",  "-=",  "*=", "/=", "%=", "|=", "&=", "^=", "<<"};

bool IsWordCharacter(char character) {
    return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '_';
}

// The end of a quoted text that begins at a quote.
std::size_t EndOfQuoted(std::string_view source, std::size_t at) {
    const char quote = source[at];
    for (++at; at < source.size() && source[at] != quote; ++at)
        if (source[at] == '\\') ++at;
    return std::min(at + 1, source.size());
}

std::size_t EndOfRawString(std::string_view source, std::size_t quote) {
    const std::size_t open = source.find('(', quote);
    if (open == source.npos) return source.size();
    const std::string close = ")" + std::string(source.substr(quote + 1, open - quote - 1)) + "\"";
    const std::size_t end = source.find(close, open);
    return end == source.npos ? source.size() : end + close.size();
}

// The end of a preprocessor line, with the lines that continue it.
std::size_t EndOfDirective(std::string_view source, std::size_t at) {
    while (at < source.size() && (source[at] != '\n' || source[at - 1] == '\\'))
        ++at;
    return at;
}

// Blanks, comments and preprocessor lines from there.
std::size_t SkipSpace(std::string_view source, std::size_t at) {
    while (at < source.size()) {
        if (std::isspace(static_cast<unsigned char>(source[at]))) {
            ++at;
        } else if (source.substr(at, 2) == "//") {
            at = std::min(source.find('\n', at), source.size());
        } else if (source.substr(at, 2) == "/*") {
            const std::size_t end = source.find("*/", at + 2);
            at = end == source.npos ? source.size() : end + 2;
        } else if (source[at] == '#') {
            at = EndOfDirective(source, at);
        } else {
            return at;
        }
    }
    return at;
}

std::size_t EndOfNumber(std::string_view source, std::size_t at) {
    while (at < source.size() &&
           (IsWordCharacter(source[at]) || source[at] == '.' || source[at] == '\''))
        ++at;
    return at;
}

std::size_t EndOfWord(std::string_view source, std::size_t at) {
    while (at < source.size() && IsWordCharacter(source[at]))
        ++at;
    return at;
}

std::size_t EndOfSign(std::string_view source, std::size_t at) {
    for (std::string_view sign : kLongSigns)
        if (source.substr(at, sign.size()) == sign) return at + sign.size();
    return at + 1;
}

std::pair<Kind, std::size_t> KindAndEnd(std::string_view source, std::size_t at) {
    const char first = source[at];
    if (first == '"') return {Kind::kString, EndOfQuoted(source, at)};
    if (first == '\'') return {Kind::kCharacter, EndOfQuoted(source, at)};
    if (std::isdigit(static_cast<unsigned char>(first)))
        return {Kind::kNumber, EndOfNumber(source, at)};
    if (!IsWordCharacter(first)) return {Kind::kSign, EndOfSign(source, at)};
    const std::size_t end = EndOfWord(source, at);
    if (end < source.size() && source[end] == '"' && source[end - 1] == 'R')
        return {Kind::kString, EndOfRawString(source, end)};
    return {Kind::kWord, end};
}

std::vector<Token> Tokens(std::string_view source) {
    std::vector<Token> tokens;
    for (std::size_t at = SkipSpace(source, 0); at < source.size();) {
        const auto [kind, end] = KindAndEnd(source, at);
        tokens.push_back({kind, at, end, source.substr(at, end - at)});
        at = SkipSpace(source, end);
    }
    return tokens;
}

// The places of a source's tokens, and what is around them.
class Reader {
  public:
    explicit Reader(std::string_view source) : source_(source), tokens_(Tokens(source)) {}

    std::size_t size() const { return tokens_.size(); }
    const Token& operator[](std::size_t index) const { return tokens_[index]; }

    // The text of a token, empty outside.
    std::string_view Text(std::size_t index) const {
        return index < tokens_.size() ? tokens_[index].text : std::string_view();
    }

    bool IsWord(std::size_t index) const {
        return index < tokens_.size() && tokens_[index].kind == Kind::kWord;
    }

    // Whether the sign stands between blanks.
    bool IsBinary(std::size_t index) const {
        const Token& token = tokens_[index];
        return token.begin > 0 && source_[token.begin - 1] == ' ' && token.end < source_.size() &&
               std::isspace(static_cast<unsigned char>(source_[token.end])) != 0;
    }

    // The index of the bracket that closes the one at the index; size() without one.
    std::size_t Closing(std::size_t index) const {
        int depth = 0;
        for (; index < size(); ++index) {
            const std::string_view text = Text(index);
            if (text == "(" || text == "[" || text == "{") ++depth;
            if (text == ")" || text == "]" || text == "}") --depth;
            if (depth == 0) return index;
        }
        return size();
    }

    Mutant Replaced(std::size_t first, std::size_t last, std::string replacement,
                    const char* kind) const {
        const std::size_t begin = tokens_[first].begin;
        return {begin, tokens_[last].end - begin, std::move(replacement), kind};
    }

    std::string Source(std::size_t first, std::size_t last) const {
        const std::size_t begin = tokens_[first].begin;
        return std::string(source_.substr(begin, tokens_[last].end - begin));
    }

  private:
    std::string_view source_;
    std::vector<Token> tokens_;
};

struct Exchange {
    std::string_view sign;
    const char* other;
    const char* kind;
};

constexpr Exchange kExchanges[] = {
    {"==", "!=", "comparison"}, {"!=", "==", "comparison"}, {"<", "<=", "comparison"},
    {"<=", "<", "comparison"},  {">", ">=", "comparison"},  {">=", ">", "comparison"},
    {"&&", "||", "logic"},      {"||", "&&", "logic"},      {"+", "-", "arithmetic"},
    {"-", "+", "arithmetic"},   {"+=", "-=", "arithmetic"}, {"-=", "+=", "arithmetic"},
};

bool IsOneOf(std::string_view text, std::initializer_list<std::string_view> candidates) {
    return std::find(candidates.begin(), candidates.end(), text) != candidates.end();
}

std::optional<Mutant> Sign(const Reader& reader, std::size_t index) {
    if (reader.Text(index) == "!" && reader.Text(index + 1) != "(")
        return reader.Replaced(index, index, " ", "logic");
    if (!reader.IsBinary(index) || reader.Text(index - 1) == "operator") return {};
    const auto* exchange = std::find_if(
        std::begin(kExchanges), std::end(kExchanges),
        [&](const Exchange& candidate) { return candidate.sign == reader.Text(index); });
    if (exchange == std::end(kExchanges)) return {};
    return reader.Replaced(index, index, exchange->other, exchange->kind);
}

std::optional<Mutant> Constant(const Reader& reader, std::size_t index) {
    const std::string text(reader.Text(index));
    switch (reader[index].kind) {
        case Kind::kNumber:
            return reader.Replaced(index, index, "(" + text + " + 1)", "constant");
        case Kind::kCharacter:
            return reader.Replaced(index, index, "char(" + text + " + 1)", "constant");
        case Kind::kString:
            if (text == "\"\"" || reader.Text(index - 1) == "extern") return {};
            return reader.Replaced(index, index, "\"\"", "string");
        case Kind::kWord:
            if (text == "true") return reader.Replaced(index, index, "false", "constant");
            if (text == "false") return reader.Replaced(index, index, "true", "constant");
            return {};
        case Kind::kSign:
            break;
    }
    return Sign(reader, index);
}

// Turns the condition of an `if` or a `while` round. One that declares what it asks stays.
std::optional<Mutant> Condition(const Reader& reader, std::size_t index) {
    if (!IsOneOf(reader.Text(index), {"if", "while"}) || reader.Text(index + 1) != "(") return {};
    const std::size_t close = reader.Closing(index + 1);
    if (close == reader.size()) return {};
    std::size_t first = index + 2;
    for (std::size_t at = first; at < close; ++at)
        if (reader.Text(at) == ";") first = at + 1;
    for (std::size_t at = first; at < close; ++at)
        if (reader.Text(at) == "=") return {};
    if (first >= close) return {};
    return reader.Replaced(first, close - 1, "!(" + reader.Source(first, close - 1) + ")",
                           "condition");
}

bool BeginsStatement(const Reader& reader, std::size_t index) {
    return index > 0 && IsOneOf(reader.Text(index - 1), {";", "{", "}", ")", "else", ":"});
}

// The names, members and elements from there: what a call or an assignment begins with. The result
// is the index behind them.
std::size_t SkipPlace(const Reader& reader, std::size_t index) {
    if (reader.Text(index) == "*") ++index;
    if (!reader.IsWord(index)) return index;
    for (++index;;) {
        if (IsOneOf(reader.Text(index), {"::", ".", "->"}) && reader.IsWord(index + 1)) {
            index += 2;
        } else if (reader.Text(index) == "[") {
            index = reader.Closing(index) + 1;
        } else {
            return index;
        }
    }
}

std::size_t EndOfStatement(const Reader& reader, std::size_t index) {
    while (index < reader.size() && reader.Text(index) != ";") {
        if (IsOneOf(reader.Text(index), {"(", "[", "{"})) index = reader.Closing(index);
        if (IsOneOf(reader.Text(index), {")", "]", "}"}) && reader.Text(index + 1).empty())
            return reader.size();
        ++index;
    }
    return index;
}

// Leaves out a statement that is a call or an assignment.
std::optional<Mutant> Statement(const Reader& reader, std::size_t index) {
    if (!BeginsStatement(reader, index) ||
        IsOneOf(reader.Text(index), {"if", "while", "for", "switch", "return", "case", "do",
                                     "static_assert", "const", "using", "catch"}))
        return {};
    const std::size_t behind = SkipPlace(reader, index);
    if (behind == index) return {};
    const std::string_view next = reader.Text(behind);
    const std::size_t end = EndOfStatement(reader, behind);
    if (end == reader.size()) return {};
    if (next == "(" && reader.Closing(behind) + 1 == end)
        return reader.Replaced(index, end, ";", "call");
    if (IsOneOf(next, {"=", "+=", "-=", "|=", "&=", "++", "--"}))
        return reader.Replaced(index, end, ";", "assignment");
    return {};
}

}  // namespace

std::vector<Mutant> MutantsOf(std::string_view source) {
    const Reader reader(source);
    std::vector<Mutant> mutants;
    for (std::size_t index = 0; index < reader.size(); ++index) {
        if (reader.Text(index) == "static_assert" || reader.Text(index) == "[[") {
            index = reader.Closing(index + 1);
            continue;
        }
        for (auto* change : {&Condition, &Statement, &Constant})
            if (std::optional<Mutant> mutant = change(reader, index))
                mutants.push_back(std::move(*mutant));
    }
    std::stable_sort(mutants.begin(), mutants.end(), [](const Mutant& one, const Mutant& other) {
        return one.offset < other.offset;
    });
    return mutants;
}

std::string Mutate(std::string_view source, const Mutant& mutant) {
    std::string mutated(source);
    return mutated.replace(mutant.offset, mutant.length, mutant.replacement);
}

namespace {

// In one line, blanks alike.
std::string OneLine(std::string_view text) {
    std::string line;
    for (char character : text) {
        const bool blank = std::isspace(static_cast<unsigned char>(character)) != 0;
        if (!blank) line += character;
        if (blank && !line.empty() && line.back() != ' ') line += ' ';
    }
    while (!line.empty() && line.back() == ' ')
        line.pop_back();
    return line;
}

}  // namespace

std::string Describe(std::string_view source, const Mutant& mutant) {
    const std::size_t before = source.substr(0, mutant.offset).rfind('\n');
    const std::size_t begin = before == source.npos ? 0 : before + 1;
    const std::size_t end = std::min(source.find('\n', mutant.offset), source.size());
    return std::string(mutant.kind) + ": " + OneLine(source.substr(mutant.offset, mutant.length)) +
           " => " + OneLine(mutant.replacement) + ": " + OneLine(source.substr(begin, end - begin));
}

std::size_t LineOf(std::string_view source, const Mutant& mutant) {
    const std::string_view before = source.substr(0, mutant.offset);
    return 1 + static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
}
