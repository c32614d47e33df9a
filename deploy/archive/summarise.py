#!/usr/bin/env python3
"""Makes a summary of what was done to the items of an archive: RESULTS/summary.json and RESULTS/summary.txt.

It counts the items of RESULTS/items.txt by their records, so that every item counts once, however often it was tried
and wherever. An item without a record of this operation, with these options and of its files as they are now, has not
been done. Prints the text; exit code 0 when every item is done.
"""
import argparse
import collections
import json
import os
import pathlib
import sys

from items import Item

ATTENTION = ('notDone', 'failed', 'damaged')


def entry_of(item, task):
    """What an item counts as (the finding of its operation, `failed` or `notDone`), why, and its record."""
    record = item.record(task)
    if record is None:
        return 'notDone', 'it has not been done', {}
    if record['status'] == 'failed':
        return 'failed', record['why'], record
    why = '; '.join(f'{one["file"]}: {one["problem"]}' for one in record.get('problems', [])[:1])
    return record['finding'], why, record


def summary_of(task, items):
    """The summary, ready for JSON."""
    entries = {item.name: entry_of(item, task) for item in items}
    records = [record for _, _, record in entries.values()]
    return {
        **task,
        'items': len(entries),
        'counts': dict(sorted(collections.Counter(state for state, _, _ in entries.values()).items())),
        'mediaSeconds': round(sum(record.get('durationSeconds', 0) for record in records), 3),
        'workSeconds': round(sum(record.get('seconds', 0) for record in records), 3),
        'outputBytes': sum(sum(record.get('outputs', {}).values()) for record in records),
        'attention': [{'item': name, 'state': state, 'why': why}
                      for name, (state, why, _) in entries.items() if state in ATTENTION],
    }


def text_of(summary):
    """The summary for people."""
    lines = [f'{summary["operation"]}: {summary["items"]} items']
    lines += [f'{count:8} {state}' for state, count in summary['counts'].items()]
    lines.append(f'{summary["mediaSeconds"] / 3600:.2f} hours of media, {summary["workSeconds"] / 3600:.2f} hours of '
                 f'work, {summary["outputBytes"] / 1e9:.3f} GB made')
    lines += [f'{entry["state"]}: {entry["item"]}: {entry["why"]}' for entry in summary['attention']]
    return '\n'.join(lines) + '\n'


def main():
    """Writes both files, prints the text."""
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('operation')
    parser.add_argument('archive')
    parser.add_argument('results', type=pathlib.Path)
    parser.add_argument('options', nargs=argparse.REMAINDER, help='the options that the items were done with')
    given = parser.parse_args()
    names = os.fsdecode((given.results / 'items.txt').read_bytes()).split('\n')[:-1]
    task = {'operation': given.operation, 'options': given.options}
    summary = summary_of(task, [Item(given.archive, given.results, name) for name in names])
    (given.results / 'summary.json').write_text(json.dumps(summary, indent=2) + '\n')
    text = text_of(summary)
    (given.results / 'summary.txt').write_text(text, encoding='utf-8', errors='surrogateescape')
    sys.stdout.buffer.write(os.fsencode(text))
    return 0 if {'notDone', 'failed'}.isdisjoint(summary['counts']) else 1


if __name__ == '__main__':
    sys.exit(main())
