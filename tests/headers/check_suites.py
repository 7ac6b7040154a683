"""docs/c-suites.md lists all functions of the newest suites, and no others. The comments in their
headers number all slots in order, and say which threads may call them. Those of the header for op
types number them too."""

import pathlib
import re
import sys

SOURCE = pathlib.Path(sys.argv[1])
SDK = "platform/OxTellarSDK/include/OxTellarSDK"
PRODUCERS = "include/OxTellarProducers"
SUITES = {
    "ScenegraphIteratorHost": f"{PRODUCERS}/OxScenegraphIteratorHostSuite4.h",
    "RenderOutputUtilsHost": f"{PRODUCERS}/OxRenderOutputUtilsHostSuite4.h",
    "AttributeHost": f"{SDK}/AttributeSuite4.h",
    "RendererPlugin": f"{PRODUCERS}/OxRendererPluginSuite2.h",
}
OP_TYPES = f"{SDK}/OpTypeSuite.h"
TABLE = r"typedef struct \w+Suite_v\d+ \{(.*?)\n\} \w+Suite_v"
SLOT_OR_NUMBERS = re.compile(r"/\* (\d[\d ]*(?: to \d+)?) \[any thread\]|\(\*(\w+)\)\(")
OP_TYPE_SLOT_OR_NUMBERS = re.compile(
    r"/\* (\d[\d ]*(?: to \d+)?) [A-Z]|(?:\(\*|^    const \w+\* (?=values;))(\w+)", re.M)


def numbers(text):
    if " to " in text:
        first, last = map(int, text.split(" to "))
        return list(range(first, last + 1))
    return list(map(int, text.split()))


def slots(header, table=TABLE, slot_or_numbers=SLOT_OR_NUMBERS):
    """The names of the slots in their order, after a check of their numbers."""
    text = (SOURCE / header).read_text(encoding="utf-8")
    names, told = [], []
    for match in slot_or_numbers.finditer(re.search(table, text, re.S).group(1)):
        if match.group(1):
            assert not told, f"{header}: numbers {told} have no slots"
            told = numbers(match.group(1))
        else:
            assert told, f"{header}: {match.group(2)} has no number"
            assert told[0] == len(names), f"{header}: {match.group(2)} is {len(names)}, not {told}"
            told.pop(0)
            names.append(match.group(2))
    assert not told, f"{header}: numbers {told} have no slots"
    return names


def listed():
    """The functions that the page lists, by suite."""
    page = (SOURCE / "docs/c-suites.md").read_text(encoding="utf-8")
    table = page.split("## All functions")[1].split("\n## ")[0]
    result, suite = {}, None
    for first, functions in re.findall(r"^\| ([^|]*)\| ([^|]*)\|", table, re.M):
        suite = first.strip().strip('"') or suite
        result.setdefault(suite, []).extend(re.findall(r"`(\w+)`", functions))
    return result


def main():
    page = listed()
    for suite, header in SUITES.items():
        expected = slots(header)
        assert len(expected) > 10, f"{header}: only {len(expected)} slots were found"
        found = page.get(suite, [])
        assert sorted(found) == sorted(set(expected)), (
            f"docs/c-suites.md and {header} differ in {sorted(set(expected) ^ set(found))}")

    cooks = slots(OP_TYPES, r"typedef struct OxCookSuite \{(.*?)\n\} OxCookSuite",
                  OP_TYPE_SLOT_OR_NUMBERS)
    assert len(cooks) == 17 and cooks[0] == "values" and cooks[16] == "isFresh", cooks
    assert len(slots(OP_TYPES, slot_or_numbers=OP_TYPE_SLOT_OR_NUMBERS)) == 4


if __name__ == "__main__":
    main()
