#!/usr/bin/env python3
"""scripts/mutants: where a source is changed and how, in which order, and what is explained."""
import contextlib
import importlib.machinery
import importlib.util
import io
import pathlib
import sys
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parent.parent / "scripts" / "mutants"
loader = importlib.machinery.SourceFileLoader("mutants", str(SCRIPT))
mutants = importlib.util.module_from_spec(importlib.util.spec_from_loader("mutants", loader))
sys.modules["mutants"] = mutants  # where its records look themselves up
loader.exec_module(mutants)


def changed(text, fields=None):
    """Every mutant of a source."""
    return [text[:change.start] + change.new + text[change.end:]
            for choices in mutants.places(text, fields or {}) for change in choices]


def changed_body(statements):
    return [text[len("void f() {\n"):-len("\n}\n")] for text in changed(f"void f() {{\n{statements}\n}}\n")]


class Places(unittest.TestCase):
    def test_comparisons_and_operators_are_turned(self):
        self.assertEqual(changed_body("x = a < b;"), [";", "x = a <= b;", "x = a >= b;"])
        for before, after in (("==", "!="), ("!=", "=="), ("&&", "||"), ("||", "&&"), ("+", "-"), ("-", "+"),
                              ("&", "|"), ("|", "&"), ("<<", ">>"), (">>", "<<")):
            self.assertIn(f"x = a {after} b;", changed_body(f"x = a {before} b;"))

    def test_constants_are_off_by_one(self):
        self.assertEqual(changed("int f(int a = 7);"), ["int f(int a = 8);", "int f(int a = 6);"])
        self.assertEqual(changed("int f(int a = 0u);"), ["int f(int a = 1u);"])

    def test_bits_of_masks_are_flipped(self):
        self.assertIn("int f(int a = 0x0FFE);", changed("int f(int a = 0x0FFF);"))
        self.assertIn("int f(int a = 0x07FF);", changed("int f(int a = 0x0FFF);"))
        self.assertIn("int f(int a = 0x8FFF);", changed("int f(int a = 0x0FFF);"))

    def test_calls_assignments_and_returns_are_left_out(self):
        self.assertEqual(changed_body("call(a);"), [";"])
        self.assertEqual(changed_body("record.field = a;"), [";"])
        self.assertEqual(changed_body("return a;"), ["return {};", ";"])
        self.assertIn("if (a) ;", changed_body("if (a) break;"))
        self.assertIn("for (;;) ;", changed_body("for (;;) continue;"))

    def test_declarations_stay(self):
        for declaration in ("const int a = b;", "std::uint32_t now = b;", "Row& row = rows[i];",
                            "using std::span;", "int a;"):
            self.assertEqual(changed_body(declaration), [], declaration)

    def test_branches_are_exchanged(self):
        self.assertIn("if (!(a)) call();", changed_body("if (a) call();"))
        self.assertIn("if (const T t = f(); !(t)) call();", changed_body("if (const T t = f(); t) call();"))
        self.assertIn("return a ? c(d) : b;", changed_body("return a ? b : c(d);"))
        self.assertIn("return a ? b ? d : e : c;",
                      changed_body("return a ? c : b ? d : e;"))

    def test_a_field_gives_way_to_its_neighbour_of_the_same_type(self):
        fields = mutants.neighbouring_fields(["struct R {\n    int a;\n    int b;\n    char c;\n};\n"])
        self.assertEqual(changed("int g(R r) { f(r.a, r.c, r.b()); }", fields)[-1:],
                         ["int g(R r) { f(r.b, r.c, r.b()); }"])
        self.assertEqual(changed("R r = {.a = q};", fields), [])

    def test_what_decides_nothing_at_run_time_stays(self):
        for text in ('// a == b\nconst char* t = "a == b";', "/* 1 */\n#define N 7\n",
                     "static_assert(a == 4);",
                     "std::span<const T> f(T&& a, T& b);", "[[nodiscard]] T f();"):
            self.assertEqual(changed(text), [], text)


class Order(unittest.TestCase):
    TEXTS = {"vlan/a.cpp": "int a = 1 + 2;\n", "common/b.h": "int b = 3 + 4;\n"}

    def test_a_seed_gives_the_same_mutants_each_time(self):
        def sources(seed, only=()):
            return [mutant.mutated for mutant in mutants.mutants_of(self.TEXTS, seed, only)]
        self.assertEqual(sources(3), sources(3))
        self.assertNotEqual(sources(3), sources(4))
        self.assertEqual(len(sources(3)), 6)
        self.assertEqual(len(sources(3, ["vlan"])), 3)
        self.assertEqual(len(sources(3, ["common/b.h"])), 3)


class Explanations(unittest.TestCase):
    TEXT = ("# About the file.\n\nvlan/a.cpp\n-if (a < b &&\n-    c) {\n+if (a <= b && c) {\n"
            "    Both are the same,\n    always.\n")

    def mutant(self):
        text = "x;\n    if (a < b &&\n        c) {\n"
        start = text.index("<")
        return mutants.Mutant("vlan/a.cpp", text, mutants.Change(start, start + 1, "<="))

    def test_a_survivor_is_known_by_its_lines(self):
        explanation, = mutants.read_explanations(self.TEXT)
        self.assertEqual(explanation.reason, "Both are the same, always.")
        text = self.mutant().text.replace("&&\n        c", "&& c")
        start = text.index("<")
        mutant = mutants.Mutant("vlan/a.cpp", text, mutants.Change(start, start + 1, "<="))
        self.assertEqual(mutant.line, 2)
        self.assertTrue(explanation.fits(mutant))
        self.assertFalse(explanation.fits(self.mutant()))  # goes on in the next line

    def test_lines_before_it_tell_a_line_from_the_same_one_elsewhere(self):
        text = "int f() {\n    return 0;\n}\nint g() {\n    return 0;\n}\n"
        explanation, = mutants.read_explanations(
            "vlan/a.cpp\n-int g() {\n-    return 0;\n+int g() {\n+    return 1;\n    Nobody asks.\n")
        in_f, in_g = (mutants.Mutant("vlan/a.cpp", text, mutants.Change(start, start + 1, "1"))
                      for start in (text.index("0"), text.rindex("0")))
        self.assertTrue(explanation.fits(in_g))
        self.assertFalse(explanation.fits(in_f))

    def test_one_whose_line_has_left_the_sources_is_named(self):
        explanations = mutants.read_explanations(self.TEXT)
        self.assertEqual(mutants.outdated(explanations, {"vlan/a.cpp": self.mutant().text}), [])
        self.assertEqual(mutants.outdated(explanations, {"vlan/a.cpp": "if (a < c) {\n"}), explanations)
        self.assertEqual(mutants.outdated(explanations, {}), explanations)

    def test_one_without_a_reason_is_refused(self):
        with self.assertRaises(mutants.Failure):
            mutants.read_explanations("vlan/a.cpp\n-a\n+b\n")


class Report(unittest.TestCase):
    def test_the_share_is_of_what_counts_and_is_not_explained(self):
        mutant = mutants.Mutant("vlan/a.cpp", "a < b;\n", mutants.Change(2, 3, "<="))
        results = ([mutants.Result(mutant, noticed_by="rules_test")] * 3 +
                   [mutants.Result(mutant, noticed_by="streams"), mutants.Result(mutant),
                    mutants.Result(mutant, explained=True),
                    mutants.Result(mutant, not_counted="the same code")])
        with contextlib.redirect_stdout(io.StringIO()) as out:
            share = mutants.report(results)
        self.assertEqual(share, 0.8)
        self.assertIn("6 mutants: 4 noticed, 1 of them by the streams alone; "
                      "1 explained, 1 not noticed: 80.0%",
                      out.getvalue())
        self.assertIn("vlan/a.cpp:1\n    - a < b;\n    + a <= b;\n", out.getvalue())


if __name__ == "__main__":
    unittest.main()
