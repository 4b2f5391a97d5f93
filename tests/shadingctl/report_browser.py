"""Headless Chromium for the tests of reports, and the results that their pages show."""

import base64
import json
import pathlib
import shutil
import subprocess
import sys
import unittest

MISSING = [program for program in ('chromium', 'chromedriver') if shutil.which(program) is None]
try:
    from selenium import webdriver
    from selenium.webdriver.chrome.options import Options
    from selenium.webdriver.chrome.service import Service
except ImportError:
    MISSING.append('selenium')


class Tool:
    """Runs the tool, which writes into a directory."""

    def __init__(self, program, place):
        self.program = program
        self.place = place

    def run(self, *arguments, codes=(0,), **how):
        done = subprocess.run([self.program, *map(str, arguments)], capture_output=True, text=True, check=False, **how)
        if done.returncode not in codes:
            raise RuntimeError(f'{arguments}: {done.returncode}: {done.stderr}')
        return done

    def replay(self, name, *arguments):
        self.run('replay', *arguments, '--quiet', '--format', 'json', '--samples', '-o', self.place / f'{name}.json')

    def result(self, name):
        return json.loads((self.place / f'{name}.json').read_text())


def make_kinds(tool):
    """One result of each kind that a page shows: sick, told, calibration and fit."""
    run, place = tool.run, tool.place
    place.mkdir(parents=True, exist_ok=True)
    run('generate', place / 'sick', '--force', '--hall-rate', 200, '--late', 20, '--pause-us', 300000, '--lost', 0.05,
        '--event', 'jump@2.5:9000', '--end-stop', 30)
    tool.replay('sick', place / 'sick')
    run('explain', place / 'sick', '--format', 'json', '-o', place / 'told.json')
    run('calibration', '--all', '--format', 'json', '-o', place / 'calibration.json', codes=(1,))
    run('generate', place / 'bench', '--force', '--frames', 900, '--clock-offset-us', 12000, '--reference', place / 'target.csv')
    rows = (place / 'target.csv').read_text().splitlines()
    rows[9::90] = [f'{row.split(",")[0]},0,400' for row in rows[9::90]]  # lost targets
    (place / 'target.csv').write_text('\n'.join(rows) + '\n')
    run('fit', place / 'bench', '--reference', place / 'target.csv', '--format', 'json', '-o', place / 'fit.json')


def make_results(tool):
    """Answers each report's name and the results that it draws."""
    run, replay, place = tool.run, tool.replay, tool.place
    make_kinds(tool)
    run('generate', place / 'pair', '--force', '--cameras', 2, '--frames', 60)
    run('generate', place / 'long', '--force', '--frames', 6000)
    replay('builtin')
    replay('reset', place / 'sick', '--reset-matched')
    replay('part', place / 'sick', '--range', '40:60')
    replay('pair', place / 'pair')
    led = tool.result('pair')
    times = [frame['timestamp_ns'] for frame in led['frames'] if frame['camera'] == 2]
    stretch = {'from_s': (times[20] - times[0]) / 1e9, 'to_s': (times[30] - times[0]) / 1e9, 'first_frame': 21, 'last_frame': 31}
    for code, severity, camera in (('slight', 'note', 0), ('off', 'wrong', 2), ('gone', 'lost', 2)):
        led['findings'].append({'code': code, 'severity': severity, 'camera': camera, 'text': code, 'advice': None,
                                'frames': {'count': 11, 'first': [21]}, 'intervals': [stretch]})
    (place / 'led.json').write_text(json.dumps(led))
    replay('long', place / 'long')
    run('replay', '--quiet', '--format', 'json', '--log-level', 0, '-o', place / 'sparse.json')
    run('generate', place / 'still', '--force', '--exposure-us', 8000, '--reference', place / 'target.csv')
    run('fit', place / 'still', '--reference', place / 'target.csv', '--format', 'json', '-o', place / 'line.json')
    (place / 'target.csv').write_text('frame,x,y\n' + ''.join(f'{n},{n * 7919 % 101},{n * 4127 % 97}\n' for n in range(1, 300)))
    run('fit', place / 'bench', '--reference', place / 'target.csv', '--format', 'json', '-o', place / 'refused.json',
        codes=(3,))
    reports = {name: [name]
               for name in ('builtin', 'sick', 'pair', 'led', 'told', 'long', 'sparse', 'calibration', 'fit', 'line', 'refused')}
    reports['both'] = ['sick', 'reset']
    reports['fewer'] = ['sick', 'part']
    reports['more'] = ['part', 'sick']
    for name, results in reports.items():
        run('report', *(place / f'{result}.json' for result in results), '-o', place / f'{name}.html')
    return reports


class Browser:
    def __init__(self):
        options = Options()
        for argument in ('--headless=new', '--no-sandbox', '--disable-gpu', '--hide-scrollbars',
                         '--disable-dev-shm-usage'):
            options.add_argument(argument)
        options.binary_location = shutil.which('chromium')
        options.set_capability('goog:loggingPrefs', {'browser': 'ALL', 'performance': 'ALL'})
        self.driver = webdriver.Chrome(service=Service(shutil.which('chromedriver')), options=options)

    def open(self, page, width=1440, dark=False):
        scheme = 'dark' if dark else 'light'
        self.driver.execute_cdp_cmd('Emulation.setEmulatedMedia',
                                    {'features': [{'name': 'prefers-color-scheme', 'value': scheme}]})
        self.resize(width, 900)
        self.driver.get(page.as_uri())
        self.settle()

    def resize(self, width, height):
        self.driver.execute_cdp_cmd('Emulation.setDeviceMetricsOverride',
                                    {'width': width, 'height': height, 'deviceScaleFactor': 1, 'mobile': False})

    def settle(self):
        """Waits until two frames were drawn."""
        self.driver.execute_async_script(
            'const done = arguments[0]; requestAnimationFrame(() => requestAnimationFrame(() => done()));')

    def run(self, script, *arguments):
        return self.driver.execute_script(script, *arguments)

    def press(self, key):
        self.run('document.dispatchEvent(new KeyboardEvent("keydown", {key: arguments[0], bubbles: true}))', key)
        self.settle()

    def script_seconds(self):
        """How long the page's scripts have run."""
        self.driver.execute_cdp_cmd('Performance.enable', {})
        metrics = self.driver.execute_cdp_cmd('Performance.getMetrics', {})['metrics']
        return next(metric['value'] for metric in metrics if metric['name'] == 'ScriptDuration')

    def complaints(self):
        return [entry['message'] for entry in self.driver.get_log('browser')]

    def requests(self):
        """What the pages asked for since the last question, beside themselves."""
        asked = []
        for entry in self.driver.get_log('performance'):
            message = json.loads(entry['message'])['message']
            if message['method'] != 'Network.requestWillBeSent':
                continue
            params = message['params']
            if params.get('type') != 'Document' and not params['request']['url'].startswith('data:'):
                asked.append(params['request']['url'])
        return asked

    def screenshot(self, path, width):
        self.resize(width, self.run('return document.documentElement.scrollHeight'))
        self.settle()
        shot = self.driver.execute_cdp_cmd('Page.captureScreenshot', {'format': 'png'})
        path.write_bytes(base64.b64decode(shot['data']))


def run_tests(case):
    """Runs the tests of a class with what the command line names: SHADINGCTL DIRECTORY, further files and options."""
    if MISSING:
        print(f'skipped, as there is no {", no ".join(MISSING)} (tools/packages-full.txt)')
        sys.exit(77)
    case.options = {argument for argument in sys.argv if argument.startswith('--')}
    program, place, *case.files = [pathlib.Path(argument).resolve() for argument in sys.argv[1:] if argument not in case.options]
    case.tool = Tool(program, place)
    unittest.main(argv=sys.argv[:1])
