#!/usr/bin/env python3
"""Does one operation to one item of an archive, and prints what it did as a line of JSON.

An item that is done is skipped, unless its files, the operation or its options have changed, or an output is missing.
Files that are made appear under their names when they are complete, and the item's record after them: whatever the end
of a job, repeating it finishes the item. Exit code: 0 done or skipped, 1 failed, 75 in use, to be tried later.
"""
import argparse
import json
import os
import socket
import sys
import time

from items import InUse, Item
from operations import OPERATIONS, BeingWritten, Failed, Tool

EXIT_CODES = {'done': 0, 'failed': 1, 'inUse': 75}


def arguments():
    """The command line."""
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('operation', choices=OPERATIONS)
    parser.add_argument('archive', help='the folder that items are named in')
    parser.add_argument('results', help='the folder of records and outputs, one for each operation')
    parser.add_argument('item', help='media file of a recording or, to package, an MP4, relative to the archive')
    parser.add_argument('options', nargs=argparse.REMAINDER, help='options handed to the program')
    parser.add_argument('--fmp4', default=os.environ.get('FMP4', 'fmp4'), help='the program (default: $FMP4, or fmp4)')
    return parser.parse_args()


def attempt(tool, item, task, work):
    """Does the task; returns what the record says of it."""
    before = item.source()
    try:
        found = OPERATIONS[task['operation']](tool, item, work, task['options'])
    except BeingWritten:
        return {'status': 'inUse', 'why': 'it is being written'}
    except (Failed, OSError) as failure:
        return {'status': 'failed', 'why': str(failure), 'source': before, 'outputs': {}}
    source = item.source()
    if source != before and task['operation'] != 'repair':
        return {'status': 'inUse', 'why': 'it changed meanwhile'}
    return {'status': 'done', **found, 'source': source, 'outputs': item.keep_output()}


def run(tool, item, task):
    """Does the task unless it is done; returns the line to print."""
    line = {'item': item.name, **task, 'node': os.environ.get('SLURMD_NODENAME', socket.gethostname()),
            'started': time.strftime('%Y-%m-%dT%H:%M:%SZ', time.gmtime())}
    start = time.monotonic()
    try:
        with item.claimed() as work:
            record = item.record(task)
            if record is not None and record['status'] == 'done':
                return {**line, 'status': 'done', 'skipped': True}
            line.update(attempt(tool, item, task, work), seconds=round(time.monotonic() - start, 3))
            if line['status'] != 'inUse':
                item.write_record(line)
    except InUse:
        line.update(status='inUse', why='another job works on it')
    return {**line, 'skipped': False}


def main():
    """Prints the line and returns the exit code."""
    given = arguments()
    item = Item(given.archive, given.results, given.item)
    line = run(Tool(given.fmp4), item, {'operation': given.operation, 'options': given.options})
    # One write: lines of jobs that share a file stay in one piece.
    sys.stdout.write(json.dumps(line) + '\n')
    return EXIT_CODES[line['status']]


if __name__ == '__main__':
    sys.exit(main())
