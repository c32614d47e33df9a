#!/usr/bin/env python3
"""Lists the items of an archive in RESULTS/items.txt, one a line, sorted by name.

An item is the media file of a recording or, for `package`, an MP4. The audio file of a recording whose video has a file
of its own is no item.
"""
import argparse
import os
import pathlib
import sys


def names_below(archive):
    """All files, as names relative to the archive."""
    for folder, _, files in os.walk(archive):
        for file in files:
            yield pathlib.Path(folder, file).relative_to(archive).as_posix()


def is_source(name, _names):
    """Whether this is a file to package."""
    return name.endswith(('.mp4', '.mov'))


def is_recording(name, names):
    """Whether this is the media file that stands for a recording."""
    stem, extension = os.path.splitext(name)
    if extension in ('.m4a', '.isma'):
        return stem + ('.m4v' if extension == '.m4a' else '.ismv') not in names
    return extension in ('.m4v', '.ismv')


def main():
    """Writes the list; exit code 1 where outputs would become items, or a name has a line break."""
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('operation', choices=('verify', 'repair', 'export', 'package'))
    parser.add_argument('archive', help='the folder')
    parser.add_argument('results', type=pathlib.Path, help='the folder of records and outputs; made if missing')
    given = parser.parse_args()
    if given.results.resolve().is_relative_to(pathlib.Path(given.archive).resolve()):
        sys.exit('list_items: the results are inside the archive; give another folder')
    names = set(names_below(given.archive))
    wanted = is_source if given.operation == 'package' else is_recording
    items = sorted(name for name in names if wanted(name, names))
    if any('\n' in name for name in items):
        sys.exit('list_items: a name has a line break; rename the file')
    given.results.mkdir(parents=True, exist_ok=True)
    draft = given.results / 'items.new'
    draft.write_bytes(b''.join(os.fsencode(name) + b'\n' for name in items))
    os.replace(draft, given.results / 'items.txt')
    return 0


if __name__ == '__main__':
    sys.exit(main())
