"""The mutants of one source text: what it becomes when one token, condition or call is changed."""

import re
from dataclasses import dataclass

TOKEN = re.compile(r"""
    (?P<skip>//[^\n]*|/\*.*?\*/|^\#[^\n]*|R"(?P<mark>\w*)\(.*?\)(?P=mark)"|"(?:\\.|[^"\\\n])*"
            |(?<![\da-fA-F])'(?:\\.|[^'\\\n])+')
  | (?P<number>\b(?:0x[\da-fA-F']+|\d[\d']*)(?P<suffix>[uUlL]*)\b(?!\.\d))
  | (?P<word>[A-Za-z_]\w*)
  | (?P<operator><=>|<<=|>>=|->|::|\+\+|--|&&|\|\||==|!=|<=|>=|\+=|-=|<<|>>
               |[-+*/%<>!&|^?:=;,{}()[\]])
""", re.VERBOSE | re.MULTILINE | re.DOTALL)

# The sources are formatted, so a binary operator stands between blanks; template brackets,
# references and pointers do not.
BINARY = {
    "==": ["!="], "!=": ["=="],
    "<": ["<=", ">="], "<=": ["<", ">"], ">": [">=", "<="], ">=": [">", "<"],
    "&&": ["||"], "||": ["&&"],
    "+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["*"],
    "&": ["|"], "|": ["&"], "<<": [">>"], ">>": ["<<"],
    "+=": ["-="], "-=": ["+="],
}
ANYWHERE = {"++": ["--"], "--": ["++"], "true": ["false"], "false": ["true"]}
NO_CALL = {"if", "for", "while", "switch", "return", "static_assert", "sizeof"}
# What follows is a statement of its own.
STATEMENT_BEGINS_AFTER = re.compile(r"[;{})]\s*$|\belse\s*$|\bcase [^:;{}]*:\s*$")


@dataclass
class Mutant:
    source: str  # path from the project's root
    text: str    # the whole file
    line: int
    change: str  # "old -> new"

    def __str__(self):
        return f"{self.source}:{self.line}: {self.change}"


def one_line(text):
    return " ".join(text.split())


def mutant(source, text, begin, end, new):
    line = text.count("\n", 0, begin) + 1
    change = f"{one_line(text[begin:end])} -> {one_line(new) or 'nothing'}"
    return Mutant(source, text[:begin] + new + text[end:], line, change)


def first_outside_brackets(text, begin, wanted):
    """Where the first of these tokens stands that no bracket opened since begin encloses."""
    depth = 0
    for token in TOKEN.finditer(text, begin):
        if depth == 0 and token["operator"] in wanted:
            return token.start()
        if token["operator"]:
            depth += (token[0] in "([{") - (token[0] in ")]}")
    raise ValueError("unbalanced brackets")


def neighbours_of_number(text):
    digits = text.rstrip("uUlL")
    value = int(digits.replace("'", ""), 8 if re.fullmatch(r"0[0-7']+", digits) else 0)
    return [f"{n}{text[len(digits):]}" for n in (value + 1, value - 1) if n >= 0]


def negated_condition(source, text, end):
    opening = text.index("(", end)
    closing = first_outside_brackets(text, opening + 1, (")",))
    condition = text[opening + 1:closing]
    if ";" in condition:
        return []
    return [mutant(source, text, opening + 1, closing, f"!({condition})")]


def removed_call(source, text, begin):
    call = re.compile(r"[\w.:]+(?:->\w+)?\(").match(text, begin)
    if not call or not STATEMENT_BEGINS_AFTER.search(text, 0, begin):
        return []
    end = first_outside_brackets(text, call.end(), (")",)) + 1
    return [mutant(source, text, begin, end, "")] if text[end:end + 1] == ";" else []


def end_of_branch(text, begin, ends):
    """The end of one branch of a conditional; a conditional within it has a colon of its own."""
    inner = 0
    while True:
        place = first_outside_brackets(text, begin, ("?", *ends))
        if text[place] == "?":
            inner += 1
        elif text[place] == ":" and inner > 0:
            inner -= 1
        else:
            return place
        begin = place + 1


def swapped_branches(source, text, begin):
    colon = end_of_branch(text, begin, (":",))
    end = end_of_branch(text, colon + 1, (":", ",", ";", ")", "]", "}"))
    first, second = text[begin:colon].strip(), text[colon + 1:end].strip()
    return [mutant(source, text, begin, end, f" ({second}) : ({first})")]


def mutants_of_token(source, text, token):
    begin, end = token.span()
    word = token[0]
    spaced = text[begin - 1].isspace() and text[end].isspace()
    if token["number"]:
        changes = neighbours_of_number(word)
    elif word == "!":
        changes = [""]
    else:
        changes = ANYWHERE.get(word) or (BINARY.get(word, []) if spaced else [])
    mutants = [mutant(source, text, begin, end, new) for new in changes]
    if word in ("if", "while"):
        mutants += negated_condition(source, text, end)
    elif word == "?":
        mutants += swapped_branches(source, text, end)
    elif token["word"] and word not in NO_CALL:
        mutants += removed_call(source, text, begin)
    return mutants


def mutants_of(source, text):
    return [mutant for token in TOKEN.finditer(text) if not token["skip"]
            for mutant in mutants_of_token(source, text, token)]
