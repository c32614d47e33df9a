"""The items of an archive: which files one is made of, and where its record, its outputs and its work are kept.

An item is named by its media file, relative to the archive's folder and with slashes: `news/evening.m4v`. What is kept
of it lies in folders of the results, under the same name:

    records/NAME.json   what was done; there once the item is finished or has failed, replaced in one step
    output/NAME/        the files that were made
    work/NAME/          files that are not finished; work/NAME.lock keeps two jobs from one item
"""
import contextlib
import fcntl
import json
import os
import pathlib
import shutil

# What the recorder adds to the name that its files share. The second list is that of the audio.
RECORDING_FILES = ('.m4v', '.m4a', '.mpd', '.m3u8', 'A.m3u8', '.master.m3u8', '.ismv', '.isma', '.xml')


class InUse(Exception):
    """Another job works on the item."""


def sync_folder(folder):
    """Brings the names in a folder to the disk."""
    descriptor = os.open(folder, os.O_RDONLY | os.O_DIRECTORY)
    try:
        os.fsync(descriptor)
    finally:
        os.close(descriptor)


def put(source, target):
    """Moves a finished file to its place in one step, once its bytes are on the disk. Same file system only."""
    with open(source, 'rb') as file:
        os.fsync(file.fileno())
    os.replace(source, target)
    sync_folder(target.parent)


class Item:
    """One item of an archive, and its places in the results."""

    def __init__(self, archive, results, name):
        self.name = name
        self.media = pathlib.Path(archive, name)
        self.record_file = pathlib.Path(results, 'records', name + '.json')
        self.output = pathlib.Path(results, 'output', name)
        self.work = pathlib.Path(results, 'work', name)

    def source(self):
        """Size and time of change, in nanoseconds, of each of its files that exist."""
        stem = self.media.with_suffix('')
        names = {self.media} | {stem.with_name(stem.name + end) for end in RECORDING_FILES}
        files = {}
        for path in sorted(names):
            with contextlib.suppress(FileNotFoundError):
                status = path.stat()
                files[path.name] = {'bytes': status.st_size, 'changed': status.st_mtime_ns}
        return files

    def record(self, task):
        """What was done to it, if that was this task with its files as they are; else None.

        `task` holds the operation and its options, under the names that the record has.
        """
        try:
            record = json.loads(self.record_file.read_text())
        except (FileNotFoundError, ValueError):
            return None
        same = all(record[key] == task[key] for key in task)
        if same and record['source'] == self.source() and self._has_output(record['outputs']):
            return record
        return None

    def write_record(self, record):
        """Replaces the record in one step: after a power cut it is the old one or the new one."""
        self.record_file.parent.mkdir(parents=True, exist_ok=True)
        draft = self.work.with_name(self.work.name + '.record')
        draft.write_text(json.dumps(record) + '\n')
        put(draft, self.record_file)

    @contextlib.contextmanager
    def claimed(self):
        """Keeps other jobs from the item, and gives an empty folder to work in. Raises InUse.

        What a job that was lost left behind goes first: its claim ended with its process.
        """
        self.work.parent.mkdir(parents=True, exist_ok=True)
        with open(self.work.with_name(self.work.name + '.lock'), 'w') as lock:
            try:
                fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
            except BlockingIOError as error:
                raise InUse from error
            os.set_inheritable(lock.fileno(), True)  # held by a program that outlives its job, too
            shutil.rmtree(self.work, ignore_errors=True)
            self.work.mkdir()
            try:
                yield self.work
            finally:
                shutil.rmtree(self.work, ignore_errors=True)

    def keep_output(self):
        """Puts all files of the work folder in the place of earlier outputs; returns their sizes by name."""
        self.output.mkdir(parents=True, exist_ok=True)
        files = {}
        for path in sorted(self.work.iterdir()):
            files[path.name] = path.stat().st_size
            put(path, self.output / path.name)
        for path in self.output.iterdir():
            if path.name not in files:
                path.unlink()
        return files

    def _has_output(self, files):
        """Whether all these outputs are there, with these sizes."""
        paths = {self.output / name: size for name, size in files.items()}
        return all(path.is_file() and path.stat().st_size == size for path, size in paths.items())
