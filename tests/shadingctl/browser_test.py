#!/usr/bin/python3
"""Looks at reports in headless Chromium as their users do.

usage: browser_test.py SHADINGCTL DIRECTORY SVG [--update] [--screenshots]

DIRECTORY holds what the test writes; SVG is the committed picture of one frame's timing, which --update renews. Ends
with 77 (skipped) where Chromium, its driver or Selenium is missing.
"""

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
    from selenium.webdriver.common.action_chains import ActionChains
    from selenium.webdriver.common.by import By
except ImportError:
    MISSING.append('selenium')

PAYLOAD = '"><img src=x onerror="window.ran=1"></style></script><script>window.ran=1</script>{{}}${window.ran=1}'
EXTREMES = (1.7e308, -9007199254740993)  # numbers that a document may hold
SVG_FRAME = 20  # of the built-in session
SVG_LIMIT = 100 * 1024
LEAST_CONTRAST = 4.5  # of text to what is behind it, WCAG 2 level AA
WIDTHS = (1440, 800)


def make_results(tool, place):
    """Runs the tool; answers each report's name and the results that it draws."""
    def run(*arguments, codes=(0,)):
        done = subprocess.run([tool, *map(str, arguments)], capture_output=True, text=True, check=False)
        if done.returncode not in codes:
            raise RuntimeError(f'{arguments}: {done.returncode}: {done.stderr}')

    def replay(name, *arguments):
        run('replay', *arguments, '--quiet', '--format', 'json', '--samples', '-o', place / f'{name}.json')

    run('generate', place / 'sick', '--force', '--hall-rate', 200, '--late', 20, '--pause-us', 300000, '--lost', 0.05,
        '--clock-jump-us', 9000, '--end-stop', 30)
    run('generate', place / 'pair', '--force', '--cameras', 2, '--frames', 60)
    run('generate', place / 'long', '--force', '--frames', 6000)
    replay('builtin')
    replay('sick', place / 'sick')
    replay('reset', place / 'sick', '--reset-matched')
    replay('part', place / 'sick', '--range', '40:60')
    replay('pair', place / 'pair')
    replay('long', place / 'long')
    run('replay', '--quiet', '--format', 'json', '--log-level', 0, '-o', place / 'sparse.json')
    run('calibration', '--all', '--format', 'json', '-o', place / 'calibration.json', codes=(1,))
    run('generate', place / 'bench', '--force', '--frames', 900, '--clock-offset-us', 12000, '--reference', place / 'target.csv')
    rows = (place / 'target.csv').read_text().splitlines()
    rows[9::90] = [f'{row.split(",")[0]},0,400' for row in rows[9::90]]  # lost targets
    (place / 'target.csv').write_text('\n'.join(rows) + '\n')
    run('fit', place / 'bench', '--reference', place / 'target.csv', '--format', 'json', '-o', place / 'fit.json')
    run('generate', place / 'still', '--force', '--exposure-us', 8000, '--reference', place / 'target.csv')
    run('fit', place / 'still', '--reference', place / 'target.csv', '--format', 'json', '-o', place / 'line.json')
    (place / 'target.csv').write_text('frame,x,y\n' + ''.join(f'{n},{n * 7919 % 101},{n * 4127 % 97}\n' for n in range(1, 300)))
    run('fit', place / 'bench', '--reference', place / 'target.csv', '--format', 'json', '-o', place / 'refused.json',
        codes=(3,))
    reports = {name: [name]
               for name in ('builtin', 'sick', 'pair', 'long', 'sparse', 'calibration', 'fit', 'line', 'refused')}
    reports['both'] = ['sick', 'reset']
    reports['fewer'] = ['sick', 'part']
    reports['more'] = ['part', 'sick']
    for name, results in reports.items():
        run('report', *(place / f'{result}.json' for result in results), '-o', place / f'{name}.html')
    return reports


def leaves(value, path=()):
    """The places of all texts and numbers, of lists those of the first entry that has them."""
    if isinstance(value, dict):
        return [leaf for key, member in value.items() for leaf in leaves(member, (*path, key))]
    if isinstance(value, list):
        return next(filter(None, (leaves(entry, (*path, i)) for i, entry in enumerate(value))), [])
    return [path] if isinstance(value, (str, int, float)) and not isinstance(value, bool) else []


def replaced(value, path, leaf):
    """A copy that holds `leaf` at that place."""
    if not path:
        return leaf
    copy = value.copy()
    copy[path[0]] = replaced(value[path[0]], path[1:], leaf)
    return copy


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


# Every element with text of its own whose colour is too near to that of its background.
FAINT_TEXT = '''
const least = arguments[0];
const parse = (text) => text.match(/[\\d.]+/g).map(Number);
const luminance = ([r, g, b]) => [r, g, b].map((v) => v / 255)
  .map((v) => v <= 0.04045 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4)
  .reduce((sum, v, i) => sum + v * [0.2126, 0.7152, 0.0722][i], 0);
const behind = (node) => {
  for (let at = node; at; at = at.parentElement) {
    const svg = at.closest?.('svg.timing');
    if (svg) return parse(getComputedStyle(svg.querySelector('.surface')).fill);
    const colour = parse(getComputedStyle(at).backgroundColor);
    if (colour.length < 4 || colour[3] > 0.99) return colour;
  }
  return [255, 255, 255];
};
const faint = [];
for (const node of document.querySelectorAll('main *')) {
  if (![...node.childNodes].some((child) => child.nodeType === 3 && child.data.trim())) continue;
  if (node.closest('style, title, option') || !node.getClientRects().length) continue;
  const style = getComputedStyle(node);
  const text = parse(node.closest('svg') ? style.fill : style.color);
  const [dark, light] = [luminance(text), luminance(behind(node))].sort((a, b) => a - b);
  const contrast = (light + 0.05) / (dark + 0.05);
  if (contrast < least) faint.push(`${node.textContent.trim().slice(0, 40)}: ${contrast.toFixed(2)}`);
}
return faint;
'''


class Reports(unittest.TestCase):
    tool = place = svg = None
    update = screenshots = False

    @classmethod
    def setUpClass(cls):
        cls.place.mkdir(parents=True, exist_ok=True)
        cls.reports = make_results(cls.tool, cls.place)
        cls.browser = Browser()

    @classmethod
    def tearDownClass(cls):
        cls.browser.driver.quit()

    def open(self, name, **how):
        self.browser.open(self.place / f'{name}.html', **how)

    def result(self, name):
        return json.loads((self.place / f'{name}.json').read_text())

    def shown(self):
        """The numbers of the chosen frame, by their keys."""
        return self.browser.run('''
            const view = document.querySelector('#frames [data-frame]:not(.list-row)');
            return Object.fromEntries([...view.querySelectorAll('[data-key]')].map((e) => [e.dataset.key, e.textContent]));
        ''')

    def expect_frame(self, frame):
        self.expect_numbers(self.shown(), frame)

    def expect_numbers(self, shown, frame):
        expected = {key: value for key, value in frame.items() if value is not None}
        self.assertGreaterEqual(len(shown), 8)
        for key, text in shown.items():
            value = expected[key]
            if isinstance(value, (int, float)):
                self.assertEqual(float(text), float(value), f'frame {frame["frame"]}: {key}')
            else:
                self.assertEqual(text, value, f'frame {frame["frame"]}: {key}')

    def test_every_page_is_quiet_fits_and_can_be_read(self):
        for name in self.reports:
            for width in WIDTHS:
                for dark in (False, True):
                    with self.subTest(page=name, width=width, dark=dark):
                        self.open(name, width=width, dark=dark)
                        self.assertEqual(self.browser.complaints(), [])
                        self.assertEqual(self.browser.requests(), [])
                        self.assertGreater(self.browser.run('return document.querySelectorAll("section").length'), 2)
                        overflow = self.browser.run(
                            'return document.documentElement.scrollWidth - document.documentElement.clientWidth')
                        self.assertLessEqual(overflow, 0)
                        self.assertEqual(self.browser.run(FAINT_TEXT, LEAST_CONTRAST), [])
                        if self.screenshots:
                            scheme = 'dark' if dark else 'light'
                            self.browser.screenshot(self.place / f'{name}-{width}-{scheme}.png', width)

    def test_numbers_are_those_of_the_result(self):
        result = self.result('sick')
        self.open('sick')
        codes = self.browser.run(
            'return [...document.querySelectorAll("[data-code]")].map((e) => e.dataset.code)')
        self.assertEqual(codes, [finding['code'] for finding in result['findings']])
        samples = result['summary']['cameras'][0]['samples']
        text = self.browser.run('return document.querySelector("#samples-0 dl").textContent').replace('\u202f', '')
        for key in ('delivered', 'batches', 'rate_hz', 'jitter_us', 'repeated'):
            self.assertIn(str(samples[key]), text, key)
        boxes = self.browser.run('return [...document.querySelectorAll("#frames label")].map((e) => e.textContent)')
        listed = sum(int(box.rsplit('(', 1)[1].rstrip(')').replace('\u202f', '')) for box in boxes)
        self.assertEqual(listed, len(result['frames']))

    def test_a_click_and_the_keys_show_a_frame(self):
        frames = self.result('sick')['frames']
        self.open('sick')
        self.browser.run('document.querySelector(".list").scrollTop = 0')
        self.browser.settle()
        row = self.browser.driver.find_element(By.CSS_SELECTOR, f'.list-row[data-frame="{frames[3]["frame"]}"]')
        row.click()
        self.expect_frame(frames[3])
        seen = set()
        for i in range(4, 120):
            self.browser.press('ArrowRight')
            self.expect_frame(frames[i])
            seen.add(frames[i]['match'])
        self.assertTrue({'start', 'carried', 'no_window', 'warm_up'} <= seen, seen)
        self.browser.press('ArrowLeft')
        self.expect_frame(frames[118])
        self.assertEqual(self.browser.complaints(), [])

    def test_the_drawing_is_to_scale(self):
        frame = next(f for f in self.result('builtin')['frames'] if f['frame'] == SVG_FRAME)
        self.open('builtin')
        self.choose(SVG_FRAME)
        bars = self.browser.run('''
            const of = (type, y) => document.querySelector(`svg.timing rect.${type}[y="${y}"]`).getBBox();
            return [of('bar', 84), of('bar', 136), of('near', 310)].map(({x, width}) => [x, width]);
        ''')
        (exposure_x, exposure), (readout_x, readout), (span_x, span) = bars
        scale = readout / frame['readout_us']
        self.assertAlmostEqual(exposure / scale, frame['exposure_us'], delta=20)
        self.assertAlmostEqual((readout_x - exposure_x) / scale, frame['exposure_us'], delta=20)
        first, last = frame['span_us']
        self.assertAlmostEqual(span / scale, last - first, delta=20)
        self.assertAlmostEqual((span_x - exposure_x) / scale, first - frame['start_of_frame_us'], delta=20)
        dots = self.browser.run('return document.querySelectorAll("svg.timing circle.near").length')
        self.assertEqual(dots, frame['end_index'] - frame['start_index'] + 1)

    def choose(self, number):
        self.browser.run('document.querySelector(".list").dispatchEvent('
                         'new KeyboardEvent("keydown", {key: "Home", bubbles: true}))')
        for _ in range(number):
            if int(self.browser.run(
                    'return document.querySelector("#frames [data-frame]:not(.list-row)").dataset.frame')) == number:
                return
            self.browser.press('ArrowRight')
        self.fail(f'frame {number} was not found')

    def test_a_click_in_a_plot_chooses_the_frame_there(self):
        frame = self.result('builtin')['frames'][150]
        self.open('builtin')
        x, y = self.browser.run('''
            const box = document.querySelector('.plot').getBoundingClientRect();
            const labels = [...document.querySelector('.plot').querySelectorAll('.dygraph-axis-label-x')]
              .map((label) => [label.textContent, label.getBoundingClientRect()])
              .map(([text, at]) => [parseFloat(text), (at.left + at.right) / 2 - box.left - box.width / 2]);
            const [[from, left], [to, right]] = [labels[1], labels.at(-2)];
            return [left + (arguments[0] - from) * (right - left) / (to - from), 0];
        ''', (frame['start_of_frame_us'] + frame['offset_us'] + frame['readout_us'] / 2) / 1e6 - 1000)
        plot = self.browser.driver.find_element(By.CSS_SELECTOR, '.plot')
        ActionChains(self.browser.driver).move_to_element_with_offset(plot, x, y).click().perform()
        self.browser.settle()
        self.expect_frame(frame)

    def test_filters_zoom_and_cameras(self):
        frames = self.result('pair')['frames']
        self.open('pair')
        for camera in (0, 2):
            self.browser.run('''const choice = document.querySelector('select'); choice.value = arguments[0];
                choice.dispatchEvent(new Event('change'));''', str(camera))
            self.browser.settle()
            shown = int(self.shown()['timestamp_ns'])
            self.assertIn(shown, [f['timestamp_ns'] for f in frames if f['camera'] == camera])
        self.open('sick')
        self.browser.run('''for (const box of document.querySelectorAll('#frames input')) {
            if (!box.parentElement.textContent.includes('carried')) box.click(); }''')
        self.assertEqual(self.shown()['match'], 'carried')
        axis = 'return document.querySelector("#overview").textContent'
        before = self.browser.run(axis)
        self.browser.press('+')
        self.browser.settle()
        self.assertNotEqual(self.browser.run(axis), before)
        zoomed = self.browser.run(axis)
        plot = self.browser.driver.find_element(By.CSS_SELECTOR, '.plot')
        ActionChains(self.browser.driver).drag_and_drop_by_offset(plot, -200, 0).perform()
        self.browser.settle()
        self.assertNotEqual(self.browser.run(axis), zoomed, 'a drag moves')
        ticks = self.browser.run('''return [...document.querySelectorAll('.plot')].map((plot) =>
            [...plot.querySelectorAll('.dygraph-axis-label-x')].map((label) => label.textContent));''')
        self.assertEqual(ticks[0], ticks[1])
        self.browser.press('0')
        self.browser.settle()
        self.assertEqual(self.browser.run(axis), before)

    def filter_differing(self):
        """Ticks the filter; answers the number beside it and the numbers of the frames that are listed then."""
        text = self.browser.run('const box = document.querySelector(".only-differing"); box.click(); '
                                'return box.parentElement.textContent')
        listed = self.browser.run('''
            const list = document.querySelector('.list');
            const found = new Set();
            for (list.scrollTop = 0;; list.scrollTop += 200) {
              list.dispatchEvent(new Event('scroll'));
              const before = list.scrollTop;
              for (const row of list.querySelectorAll('.list-row')) found.add(Number(row.dataset.frame));
              if (before + list.clientHeight >= list.scrollHeight - 1) return [...found];
            }''')
        return int(text.rsplit('(', 1)[1].rstrip(')').replace('\u202f', '')), listed

    def test_two_results_show_where_they_differ(self):
        first, second = ({frame['frame']: frame for frame in self.result(name)['frames']} for name in ('sick', 'reset'))
        differing = {number: {key for key in frame if frame[key] != second[number][key]}
                     for number, frame in first.items() if frame != second[number]}
        self.assertIn('carried', {first[number]['match'] for number in differing})
        self.open('both')
        self.assertEqual(self.filter_differing(), (len(differing), list(differing)))
        for number in list(differing)[:5]:
            self.expect_frame(first[number])
            marked, beside = self.browser.run('''
                const keys = (view, type) => [...view.querySelectorAll(type)].map((e) => [e.dataset.key, e.textContent]);
                const views = [...document.querySelectorAll('#frames [data-frame]:not(.list-row)')];
                return [keys(views[0], '.differs [data-key]'), keys(views[1], '[data-key]')];''')
            self.assertEqual({key for key, _ in marked}, differing[number] & set(self.shown()))
            self.expect_numbers(dict(beside), second[number])
            self.browser.press('ArrowRight')
        text = self.browser.run('return document.body.innerText')
        self.assertIn('reset matched: false in the first, true in the second', text)
        codes = [self.browser.run('return [...document.querySelectorAll(`#findings-${arguments[0]} [data-code]`)]'
                                  '.map((e) => e.dataset.code)', part) for part in ('both', '0')]
        self.assertNotIn('carried', codes[0])
        self.assertIn('carried', codes[1])

    def test_frames_that_one_of_two_results_lacks_are_told(self):
        numbers = [frame['frame'] for frame in self.result('sick')['frames']]
        absent = [number for number in numbers if not 40 <= number <= 60]
        self.open('fewer')
        self.assertEqual(self.filter_differing(), (len(absent), absent))
        self.assertIn('The second does not have this frame', self.browser.run('return document.body.innerText'))
        self.open('more')
        self.assertEqual(self.filter_differing(), (0, []))
        self.assertIn(f'{len(absent)} frames of the second are not in the first',
                      self.browser.run('return document.body.innerText'))

    def test_a_printed_page_holds_the_whole_axis(self):
        self.open('sick')
        right = '''window.dispatchEvent(new Event(arguments[0]));
            return Math.max(...[...document.querySelectorAll('.plot canvas')].map((c) => c.getBoundingClientRect().width));'''
        self.assertLessEqual(self.browser.run(right, 'beforeprint'), 701)
        self.assertGreater(self.browser.run(right, 'afterprint'), 1000)

    def test_a_result_without_samples_says_so(self):
        self.open('sparse')
        text = self.browser.run('return document.body.innerText')
        self.assertIn('The result holds no samples', text)
        self.assertIn('the result does not hold its times', text)

    def test_no_text_or_number_of_a_document_acts_or_halts_the_page(self):
        page = self.place / 'hostile.html'
        opened = 0
        for name in ('sick', 'fit', 'calibration'):
            whole = self.result(name)
            if name == 'sick':  # whose first entries of lists stand for all, and one carried frame for its columns
                whole['frames'] = sorted(whole['frames'][30:60], key=lambda frame: frame['match'])
                whole['batches'] = whole['batches'][:60]
            for path in leaves(whole):
                for leaf in (PAYLOAD, *EXTREMES):
                    document = json.dumps(replaced(whole, path, leaf))
                    done = subprocess.run([self.tool, 'report', '-', '-o', page], input=document, capture_output=True,
                                          text=True, check=False)
                    self.assertIn(done.returncode, (0, 3), done.stderr)
                    if done.returncode == 3:
                        continue
                    with self.subTest(document=name, place=path, leaf=leaf):
                        opened += 1
                        self.browser.open(page)
                        self.assertEqual(self.browser.run("""return [window.ran ?? null, document.querySelectorAll('main img').length,
                            document.querySelectorAll('section').length > 0]"""), [None, 0, True])
                        self.assertEqual((self.browser.complaints(), self.browser.requests()), ([], []))
        self.assertGreater(opened, 100)

    def test_the_policy_lets_no_other_script_act(self):
        self.open('builtin')
        for attempt in ("document.body.setAttribute('onclick', 'window.ran = 1'); document.body.click();",
                        "const made = document.createElement('script'); made.append('window.ran = 1'); document.body.append(made);",
                        "document.getElementById('page').insertAdjacentHTML('beforeend', '<b class=made>x</b>');",
                        "const made = document.createElement('form'); document.body.append(made); made.submit();"):
            self.browser.run(f'try {{ {attempt} }} catch (error) {{ }}')
            self.assertEqual(self.browser.run('return [window.ran ?? null, document.querySelectorAll(".made").length]'),
                             [None, 0], attempt)
        self.browser.complaints()  # of what was tried
        self.browser.requests()

    def test_a_fit_shows_its_numbers_and_groups(self):
        for name in ('fit', 'line'):
            result = self.result(name)
            self.open(name)
            shown = self.browser.run('return [...document.querySelectorAll("[data-key]")]'
                                     '.map((e) => [e.dataset.key, e.textContent]).filter(([key]) => key.includes("."))')
            self.assertEqual(len(shown), 24)
            for key, text in shown:
                axis, quantity = key.split('.')
                value = result['axes'][axis][quantity]['value']
                if value is None:
                    self.assertEqual(text, '–', key)
                    continue
                number = text.replace('\u202f', '').replace('−', '-').split('\u00a0')[0]
                digits = len(number.split('.')[1]) if '.' in number else 0
                self.assertAlmostEqual(float(number), value, delta=0.5001 * 10 ** -digits, msg=key)
            self.assertEqual(self.browser.run('return document.querySelectorAll("#lags circle").length'),
                             20 if name == 'fit' else 0)
            self.assertIn(result['reason'], self.browser.run('return document.querySelector("#verdict").textContent'))
            self.assertEqual(self.browser.run('return document.querySelectorAll("#residuals .outlier").length'),
                             4 * len(result['outliers']))
        self.assertIn('vary too little', self.browser.run('return document.querySelector("#lags").textContent'))
        self.open('fit')
        # The library's lag is far off, and yet every bar shows its interval.
        widths = self.browser.run('return [...document.querySelectorAll(".interval .range")].map((e) => e.getBBox().width)')
        self.assertEqual(len(widths), 6)
        self.assertGreater(min(widths), 50)

    def test_a_refused_fit_says_why_and_shows_what_was_found(self):
        result = self.result('refused')
        self.open('refused')
        self.assertIn(result['refused']['text'], self.browser.run('return document.querySelector("#verdict").textContent'))
        self.assertEqual(self.browser.run('return document.querySelectorAll("#residuals svg").length'), 4)

    def test_100000_samples_stay_fluid_and_small(self):
        batches = self.result('long')['batches']
        samples = sum(len(batch['samples']) for batch in batches)
        self.assertGreater(samples, 100000)
        self.assertLess((self.place / 'long.html').stat().st_size / samples, 200)
        self.open('long')
        before = self.browser.script_seconds()
        redraws = 40
        for i in range(redraws):
            self.browser.press('-' if i % 2 else '+')
        each = (self.browser.script_seconds() - before) / redraws
        self.assertLess(each, 0.1, 'seconds of script for each redraw while zooming')

    def test_the_committed_picture_is_what_the_page_draws(self):
        self.open('builtin')
        made = self.browser.run('''
            const [result] = JSON.parse(document.getElementById('data').textContent).map(unpackResult);
            const frame = result.frames.find((one) => one.frame === arguments[0]);
            const drawing = drawTiming(frame, samplesOf(result, frame.camera), result.settings.tolerance_us);
            return new XMLSerializer().serializeToString(drawing).replace(/></g, '>\\n<') + '\\n';
        ''', SVG_FRAME).encode()
        self.assertLess(len(made), SVG_LIMIT)
        if self.update:
            self.svg.write_bytes(made)
            self.fail(f'{self.svg} was renewed, not compared')
        self.assertEqual(self.svg.read_bytes(), made, f'{self.svg}: renew it with --update')


if __name__ == '__main__':
    if MISSING:
        print(f'skipped, as there is no {", no ".join(MISSING)} (tools/packages-full.txt)')
        sys.exit(77)
    options = {argument for argument in sys.argv if argument.startswith('--')}
    Reports.tool, place, svg = [argument for argument in sys.argv[1:] if argument not in options]
    Reports.place = pathlib.Path(place).resolve()
    Reports.svg = pathlib.Path(svg).resolve()
    Reports.update = '--update' in options
    Reports.screenshots = '--screenshots' in options
    unittest.main(argv=sys.argv[:1])
