"""Counts for scripts/demo.sh.

    demo_summary.py deliverable FORECAST                 how many records a listener will be handed
    demo_summary.py sum LINES PUBLISHED RECORDS LOG      the table; fails unless it adds up
"""

import json
import re
import sys

# Where a listener accounts for each kind that a publisher sends: in its records, or in a line of its log.
IN_RECORDS = {"product": r" ProductDownloadRecord\b", "instrument": r" InstrumentDownloadRecord\b"}
IN_LOG = {
    "product_delete": r"QXNOTIFY \| Product Delete will be ignored ",
    "instrument_delete": r"QXNOTIFY \| Instrument Delete will be ignored ",
    "unsupported": r"QXNOTIFY \| Unsupported data_type=",
    "bad_inner": r"QXNOTIFY \| (Product|Instrument) Download: Bad JSON format ",
    "no_reflection": r"QXNOTIFY \| (Product|Instrument) Download: No corresponding ",
}
COLOUR = re.compile("\x1b\\[[0-9;]*m")


def totals(path):
    """The last line that is JSON; warnings about refused lines stand before it."""
    with open(path, encoding="utf-8") as lines:
        return json.loads([line for line in lines if line.startswith("{")][-1])


def count(path, patterns):
    with open(path, encoding="utf-8", errors="replace") as lines:
        text = [COLOUR.sub("", line) for line in lines]
    return {kind: sum(bool(re.search(pattern, line)) for line in text) for kind, pattern in patterns.items()}


def print_sum(lines_path, published_path, records_path, log_path):
    published = totals(published_path)
    sent = published["sent_by_kind"]
    found = {**count(records_path, IN_RECORDS), **count(log_path, IN_LOG)}
    good = True
    print(f"  {'kind':<20}{'sent':>6}{'at the listener':>18}")
    for kind in sent:
        there = found.get(kind, 0)
        where = "records" if kind in IN_RECORDS else "log lines" if kind in IN_LOG else ""
        equal = sent[kind] == there
        good = good and equal
        print(f"  {kind:<20}{sent[kind]:>6}{there:>8} {where:<9}{'' if equal else '  <- differs'}")
    delivered = sum(found[kind] for kind in IN_RECORDS)
    dropped = sum(found[kind] for kind in IN_LOG)
    print(f"  sent {published['sent']} = delivered {delivered} + dropped {dropped}")
    with open(lines_path, encoding="utf-8") as lines:
        line_count = sum(1 for _ in lines)
    print(f"  lines {line_count} = sent {published['sent']} + refused {published['refused']}")
    good = good and published["sent"] == delivered + dropped > 0
    good = good and line_count == published["sent"] + published["refused"]
    print("  it adds up" if good else "  it does NOT add up")
    return 0 if good else 1


def main(arguments):
    if arguments[:1] == ["deliverable"] and len(arguments) == 2:
        print(sum(totals(arguments[1])["sent_by_kind"][kind] for kind in IN_RECORDS))
        return 0
    if arguments[:1] == ["sum"] and len(arguments) == 5:
        return print_sum(*arguments[1:])
    print(__doc__, file=sys.stderr)
    return 2


sys.exit(main(sys.argv[1:]))
