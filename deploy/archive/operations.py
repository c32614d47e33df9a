"""What can be done to an item. Each operation runs the program and returns what it found, as a dictionary.

`finding` is what the summary counts it as; the other keys say more. An operation that makes files makes them in the
folder `work`, and hands `options` to the program.
"""
import json
import subprocess


class Failed(Exception):
    """The program refused the item or ended early; the text says why."""


class BeingWritten(Exception):
    """The recording is still being made."""


class Tool:
    """The program, found by name or path."""

    def __init__(self, program):
        self.program = program

    def run(self, *arguments, may_fail=False):
        """Standard output; raises Failed unless the program succeeded or, with `may_fail`, printed a result."""
        command = [self.program, '--quiet', *arguments]
        # It inherits the claim of the item.
        done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, check=False, close_fds=False)
        if done.returncode == 0 or (may_fail and done.returncode == 1 and done.stdout):
            return done.stdout
        said = done.stderr.decode(errors='replace').strip().splitlines()
        raise Failed(said[-1] if said else f'{arguments[0]} ended with status {done.returncode}')

    def run_json(self, *arguments, may_fail=False):
        """The same for output in JSON."""
        try:
            return json.loads(self.run(*arguments, may_fail=may_fail))
        except ValueError as error:
            raise Failed(f'{arguments[0]} printed no JSON: {error}') from error


def _checked(tool, item):
    """What `fmp4 verify` says of a recording that is not being written."""
    checked = tool.run_json('verify', '--json', str(item.media), may_fail=True)
    if checked['beingWritten']:
        raise BeingWritten
    return checked


def _described(checked, finding):
    kept = ('frames', 'audioAccessUnits', 'durationSeconds', 'problemCount', 'problems', 'notes')
    return {'finding': finding, **{key: checked[key] for key in kept}}


def verify(tool, item, _work, _options):
    """Checks a recording."""
    checked = _checked(tool, item)
    return _described(checked, 'intact' if checked['intact'] else 'damaged')


def repair(tool, item, _work, _options):
    """Repairs a recording in place where that is possible. Repairing again changes nothing."""
    before = _checked(tool, item)
    if before['intact']:
        return _described(before, 'intact')
    if not any(problem['repairable'] for problem in before['problems']):
        return _described(before, 'damaged')
    refusal = {}
    try:
        tool.run('repair', str(item.media))
    except Failed as failure:
        refusal = {'refusal': str(failure)}
    after = _checked(tool, item)
    repaired = _described(after, 'repaired' if after['intact'] else 'damaged')
    return {**repaired, 'problemsBefore': before['problemCount'], **refusal}


def export(tool, item, work, options):
    """Writes each stream of a file to a file of its own: .h264 or .hevc, .wav, .srt."""
    about = tool.run_json('info', '--json', str(item.media))
    out = str(work / item.media.stem)
    streams = []
    if about['video']:
        streams += ['--video', out + ('.hevc' if about['video']['codec'].startswith('hvc') else '.h264')]
    if any('why' not in track for track in about['audio']):
        streams += ['--audio', out + '.wav']
    if about['captions608'] or about['captions708']:
        streams += ['--captions', out + '.srt']
    if not streams:
        raise Failed('there is nothing to export')
    tool.run('export', str(item.media), *streams, *options)
    return {'finding': 'exported', 'durationSeconds': about['durationSeconds']}


def package(tool, item, work, options):
    """Makes a recording of an MP4."""
    out = str(work / item.media.stem) + '.mp4'
    made = tool.run_json('package', '--json', str(item.media), '--output', out, *options)
    return {'finding': 'packaged', **{key: made[key] for key in ('frames', 'audioAccessUnits', 'durationSeconds')}}


OPERATIONS = {'verify': verify, 'repair': repair, 'export': export, 'package': package}
