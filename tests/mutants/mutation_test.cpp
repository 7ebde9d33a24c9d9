#include "mutants/mutation.h"

#include <gtest/gtest.h>

namespace {

// The descriptions of a source's mutants, without the line at their end.
std::vector<std::string> Changes(std::string_view source) {
    std::vector<std::string> changes;
    for (const Mutant& mutant : MutantsOf(source)) {
        const std::string description = Describe(source, mutant);
        const std::size_t arrow = description.find(" => ");
        changes.push_back(description.substr(0, description.find(": ", arrow)));
    }
    return changes;
}

using Texts = std::vector<std::string>;

TEST(Mutants, ComparisonsAreExchanged) {
    EXPECT_EQ(Changes("bool a = b == c;"), Texts{"comparison: == => !="});
    EXPECT_EQ(Changes("bool a = b < c;"), Texts{"comparison: < => <="});
    EXPECT_EQ(Changes("bool a = b >= c;"), Texts{"comparison: >= => >"});
}

TEST(Mutants, BracketsOfTemplatesAndOperatorsAreNoComparisons) {
    EXPECT_EQ(Changes("std::vector<int> a;"), Texts{});
    EXPECT_EQ(Changes("bool operator==(const A& other) const = default;"), Texts{});
    EXPECT_EQ(Changes("void F(A&& a);"), Texts{});
}

TEST(Mutants, LogicIsExchangedAndNegationLeftOut) {
    EXPECT_EQ(Changes("bool a = b && !c;"), (Texts{"logic: && => ||", "logic: ! => "}));
}

TEST(Mutants, ConstantsAndTextsBecomeOthers) {
    EXPECT_EQ(Changes("f(0x1f, 'y', true, \"text\", \"\");"),
              (Texts{"constant: 0x1f => (0x1f + 1)", "constant: 'y' => char('y' + 1)",
                     "constant: true => false", "string: \"text\" => \"\""}));
    EXPECT_EQ(Changes("auto a = R\"(one \" quote)\";"),
              Texts{"string: R\"(one \" quote)\" => \"\""});
}

TEST(Mutants, ConditionsAreTurnedRound) {
    EXPECT_EQ(Changes("{ while (IsReady(a)) ++b; }"),
              Texts{"condition: IsReady(a) => !(IsReady(a))"});
    EXPECT_EQ(Changes("{ if (int a = b; a) c(); }"),
              (Texts{"condition: a => !(a)", "call: c(); => ;"}));
    EXPECT_EQ(Changes("{ if (const auto* a = b) return; }"), Texts{});
}

TEST(Mutants, CallsAndAssignmentsAreLeftOut) {
    EXPECT_EQ(Changes("void F() { a.b->C(d, e); }"), Texts{"call: a.b->C(d, e); => ;"});
    EXPECT_EQ(Changes("void F() { a[b] = c; }"), Texts{"assignment: a[b] = c; => ;"});
    EXPECT_EQ(Changes("void F() { a\n  = c; }"), Texts{"assignment: a = c; => ;"});
}

TEST(Mutants, DeclarationsStay) {
    EXPECT_EQ(Changes("void F() { int a = b; const A c(d); return; }"), Texts{});
    EXPECT_EQ(Changes("int F(int a);"), Texts{});
}

TEST(Mutants, CommentsDirectivesAndAssertionsOfTheCompilerStay) {
    EXPECT_EQ(Changes("// a == 1\n/* b < 2 */\n#define A \\\n    3\nstatic_assert(a == 4);"),
              Texts{});
}

TEST(Mutants, AreMadeInTheirPlace) {
    const std::string source = "int a = 1;\nbool b = c == d;\n";
    const std::vector<Mutant> mutants = MutantsOf(source);
    ASSERT_EQ(mutants.size(), 2u);
    EXPECT_EQ(Mutate(source, mutants[0]), "int a = (1 + 1);\nbool b = c == d;\n");
    EXPECT_EQ(Mutate(source, mutants[1]), "int a = 1;\nbool b = c != d;\n");
    EXPECT_EQ(LineOf(source, mutants[1]), 2u);
    EXPECT_EQ(Describe(source, mutants[1]), "comparison: == => !=: bool b = c == d;");
}

}  // namespace
