#!/usr/bin/python3
"""Looks at reports in headless Chromium as their users do.

usage: browser_test.py SHADINGCTL DIRECTORY SVG [--update] [--screenshots]

DIRECTORY holds what the test writes; SVG is the committed picture of one frame's timing, which --update renews. Ends
with 77 (skipped) where Chromium, its driver or Selenium is missing.
"""

import json
import math
import struct
import unittest

from report_browser import Browser, make_results, run_tests
try:
    from selenium.webdriver.common.action_chains import ActionChains
    from selenium.webdriver.common.by import By
except ImportError:
    pass  # run_tests() says so

SVG_FRAME = 20  # of the built-in session
SVG_LIMIT = 100 * 1024
LEAST_CONTRAST = 4.5  # of text to what is behind it, WCAG 2 level AA
WIDTHS = (1440, 800, 390)
LEAST_TEXT = 11.9  # px


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


# Texts that are cut, or that are drawn too small to be read; a reason has all of its text as its title.
CUT_TEXT = '''
const cut = [];
for (const node of document.querySelectorAll('main *')) {
  if (![...node.childNodes].some((child) => child.nodeType === 3 && child.data.trim()) || !node.getClientRects().length) continue;
  const svg = node.closest('svg');
  const told = `${node.textContent.trim().slice(0, 30)} in ${(svg ?? node).getAttribute('class')}`;
  const box = node.getBoundingClientRect();
  if (svg && node.tagName === 'text') {
    const outer = svg.getBoundingClientRect();
    const size = parseFloat(getComputedStyle(node).fontSize) * outer.width / (svg.viewBox.baseVal.width || outer.width);
    if (box.left < outer.left - 1 || box.right > outer.right + 1) cut.push(`beyond its picture: ${told}`);
    if (size < arguments[0]) cut.push(`${size.toFixed(1)} px: ${told}`);
  } else if (!svg) {
    const style = getComputedStyle(node);
    if (parseFloat(style.fontSize) < arguments[0]) cut.push(`${style.fontSize}: ${told}`);
    const hides = ['hidden', 'clip'].includes(style.overflowX) && !node.matches('.reason');
    if (hides && node.scrollWidth > node.clientWidth + 1) cut.push(`cut: ${told}`);
  }
}
return cut;
'''


class Reports(unittest.TestCase):
    tool = files = options = None  # of the command line

    @classmethod
    def setUpClass(cls):
        cls.place = cls.tool.place
        cls.reports = make_results(cls.tool)
        cls.browser = Browser()

    @classmethod
    def tearDownClass(cls):
        cls.browser.driver.quit()

    def open(self, name, **how):
        self.browser.open(self.place / f'{name}.html', **how)

    def result(self, name):
        return self.tool.result(name)

    def shown(self):
        """The numbers of the chosen frame, by their keys."""
        return self.browser.run('''
            const view = document.querySelector('.detail [data-frame]');
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
                        self.assertEqual(self.browser.run(CUT_TEXT, LEAST_TEXT), [])
                        if '--screenshots' in self.options:
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
            const of = (type) => [...document.querySelectorAll(`svg.timing rect.${type}[height="16"]`)].map((rect) => rect.getBBox());
            return [...of('bar'), ...of('near')].map(({x, width}) => [x, width]);
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
                    'return document.querySelector(".detail [data-frame]").dataset.frame')) == number:
                return
            self.browser.press('ArrowRight')
        self.fail(f'frame {number} was not found')

    def test_a_click_in_a_plot_chooses_the_frame_there(self):
        frame = self.result('builtin')['frames'][150]
        self.open('builtin')
        x, y = self.browser.run('''
            const box = document.querySelector('.plot.with-axis').getBoundingClientRect();
            const labels = [...document.querySelector('.plot.with-axis').querySelectorAll('.dygraph-axis-label-x')]
              .map((label) => [label.textContent, label.getBoundingClientRect()])
              .map(([text, at]) => [parseFloat(text), (at.left + at.right) / 2 - box.left - box.width / 2]);
            const [[from, left], [to, right]] = [labels[1], labels.at(-2)];
            return [left + (arguments[0] - from) * (right - left) / (to - from), 0];
        ''', (frame['start_of_frame_us'] + frame['offset_us'] + frame['readout_us'] / 2) / 1e6 - 1000)
        plot = self.browser.driver.find_element(By.CSS_SELECTOR, '.plot.with-axis')
        ActionChains(self.browser.driver).move_to_element_with_offset(plot, x, y).click().perform()
        self.browser.settle()
        self.expect_frame(frame)

    def place_shown(self):
        """The address of the place where the page stands, and the number of the frame that is in view."""
        frame, top, bottom = self.browser.run("""
            const view = document.querySelector('.detail [data-frame]');
            const box = view.querySelector('svg.timing')?.getBoundingClientRect() ?? view.getBoundingClientRect();
            return [Number(view.dataset.frame), box.top, box.bottom];""")
        self.browser.driver.execute_async_script('setTimeout(arguments[0], 250)')  # the address waits for calm
        address = dict(part.split('=') for part in self.browser.run('return location.hash').lstrip('#').split('&'))
        return frame, {key: float(value) for key, value in address.items()}, top >= 0 and bottom <= 900

    def test_a_finding_leads_to_its_camera_stretch_and_frame(self):
        self.open('led')
        codes = self.browser.run('return [...document.querySelectorAll("[data-code]")].map((e) => e.dataset.code)')
        self.assertEqual([code for code in codes if code in ('off', 'gone', 'slight')], ['off', 'gone', 'slight'], 'worst first')
        self.assertEqual(self.browser.run('return document.querySelector("select.camera").value'), '2', 'of the worst finding')
        for code, camera in (('slight', 0), ('off', 2)):
            self.browser.driver.find_element(By.CSS_SELECTOR, f'[data-code="{code}"] button').click()
            self.browser.settle()
            frame, address, is_in_view = self.place_shown()
            self.assertEqual((frame, address['camera'], address['frame'], is_in_view), (21, camera, 21, True))
            self.assertLess(address['from'], 20 / 60)
            self.assertGreater(address['to'], 30 / 60)
            self.assertLess(address['to'] - address['from'], 0.6)

    def test_an_address_opens_its_place_and_no_other(self):
        for hash_text, frame, camera in (('#camera=2&frame=20&from=0.2&to=0.4', 20, 2), ('#camera=0&frame=7', 7, 0),
                                         ('#camera=9&frame=33', 33, 2), ('#camera=0&frame=-7&from=1&to=x', 5, 0),
                                         ('#camera=0&frame=1e1&from=NaN&to=Infinity', 5, 0),
                                         ('#camera=0&frame=7&from=-900000000&to=900000000', 7, 0),
                                         ('#frame=999999999&__proto__=1&constructor=2', 5, 2), ('#<img src=x>', 5, 2)):
            with self.subTest(address=hash_text):
                self.browser.driver.get('about:blank')
                self.browser.driver.get((self.place / 'led.html').as_uri() + hash_text)
                self.browser.settle()
                shown, address, _ = self.place_shown()
                self.assertEqual((shown, address['camera']), (frame, camera))
                if 'from=0.2' in hash_text:
                    self.assertAlmostEqual(address['from'], 0.2, 3)
                    self.assertAlmostEqual(address['to'], 0.4, 3)
                else:
                    self.assertNotIn('from', address, 'all is shown')
                self.assertEqual(self.browser.complaints(), [])

    def test_keys_step_through_trouble_and_the_box_has_its_own(self):
        frames = self.result('sick')['frames']
        trouble = [frame['frame'] for frame in frames if frame['match'] in ('carried', 'no_start', 'single', 'no_window') or
                   frame['end'] == 'last']
        self.open('sick')
        first = int(self.browser.run('return document.querySelector(".detail [data-frame]").dataset.frame'))
        after = [number for number in trouble if number > first][:8]
        for key, numbers in ((']', after), ('[', after[-2::-1])):
            for number in numbers:
                self.browser.press(key)
                self.assertEqual(self.place_shown()[0], number, key)
        box = self.browser.driver.find_element(By.CSS_SELECTOR, 'input.go')
        for text, number in ((f'{frames[200]["frame"]}\n', frames[200]['frame']), (']', frames[200]['frame']),
                             (f'{(frames[150]["timestamp_ns"] - frames[0]["timestamp_ns"]) / 1e9:.4f} s\n', frames[150]['frame'])):
            box.clear()
            box.send_keys(text)
            self.browser.settle()
            self.assertEqual(self.place_shown()[0], number, text)
        box.clear()
        box.send_keys('9999999\n')
        self.assertIn('no frame 9999999', self.browser.run('return document.querySelector("[role=status]").textContent'))

    def test_a_gap_is_open_and_the_pointer_tells_and_measures(self):
        result = self.result('sick')
        origin = result['frames'][0]['timestamp_ns'] // 1000 * 1000
        times = sorted(sample[0] for batch in result['batches'] for sample in batch['samples'])
        gap = max(range(len(times) - 1), key=lambda i: times[i + 1] - times[i])
        from_s, to_s = ((times[i] - origin) / 1e9 for i in (gap, gap + 1))
        middle = (from_s + to_s) / 2
        self.browser.driver.get('about:blank')
        self.browser.driver.get(f'{(self.place / "sick.html").as_uri()}#from={from_s - 0.3:.6f}&to={to_s + 0.3:.6f}')
        self.browser.settle()
        drawn = """
            const canvas = document.querySelector('.plot canvas');
            const all = [...document.querySelectorAll('.plot canvas')].slice(0, 2).map((one) => one.getContext('2d').getImageData(0, 0, one.width, one.height));
            const share = arguments[0];
            const left = 100 + Math.round(share * (canvas.width - 101));
            let found = 0;
            for (const {data, width} of all) for (let y = 2; y < 110; ++y) for (let x = left - 30; x < left + 30; ++x) {
              const [r, g, b, a] = data.slice(4 * (y * width + x));
              if (a > 100 && Math.abs(r - 125) + Math.abs(g - 149) + Math.abs(b - 168) < 30) ++found;
            }
            return found;"""
        self.assertEqual(self.browser.run(drawn, 0.5), 0, 'a line across the gap')
        self.assertGreater(self.browser.run(drawn, 0.15), 20, 'no line beside it')
        plot = self.browser.driver.find_element(By.CSS_SELECTOR, '.plot')
        width = plot.size['width']
        ActionChains(self.browser.driver).move_to_element_with_offset(plot, 50, 20).perform()
        self.browser.settle()
        values = self.browser.run('return document.querySelector(".values").textContent')
        self.assertAlmostEqual(float(values.split(' s')[0]), middle, delta=0.02)
        for part in ('no samples', 'frame ', 'x ', 'interval '):
            self.assertIn(part, values)
        ActionChains(self.browser.driver).key_down('\ue008').drag_and_drop_by_offset(plot, width // 4, 0).key_up('\ue008').perform()
        self.browser.settle()
        told = self.browser.run('return document.querySelector(".readout").textContent')
        start, end = (float(text) for text in told.split('Measured: ')[1].split(' s')[0].split(' to '))
        inside = sum(start * 1e9 <= time - origin < end * 1e9 for time in times)
        self.assertIn(f' {inside} samples', told)
        self.assertGreater(inside, 3)
        self.browser.complaints()  # of reading the canvas

    def test_what_is_shown_is_saved_with_the_digits_of_the_result(self):
        result = self.result('sick')
        origin = result['frames'][0]['timestamp_ns']
        self.browser.driver.get('about:blank')
        self.browser.driver.get((self.place / 'sick.html').as_uri() + '#from=1.005&to=2.005')
        self.browser.settle()
        saved = """const done = arguments[1];
            URL.createObjectURL = (blob) => { blob.text().then(done); return 'data:,'; };
            HTMLAnchorElement.prototype.click = () => {};
            [...document.querySelectorAll('button')].find((one) => one.textContent === arguments[0]).click();"""
        rows = self.browser.driver.execute_async_script(saved, 'frames CSV').splitlines()
        names = rows[0].split(',')
        shown = [frame for frame in result['frames'] if 1.005e9 <= frame['timestamp_ns'] - origin <= 2.005e9]
        self.assertEqual(len(rows) - 1, len(shown))
        for row, frame in zip(rows[1:], shown):
            for name, text in zip(names, row.split(',')):
                value = frame[name]
                expected = '' if value is None else ' '.join(map(str, value)) if isinstance(value, list) else value
                self.assertEqual(float(text) if isinstance(expected, float) else text, expected if isinstance(expected, float) else str(expected), name)
        rows = self.browser.driver.execute_async_script(saved, 'samples CSV').splitlines()[1:]
        single = lambda time, x, y: (int(time), struct.pack('f', float(x)), struct.pack('f', float(y)))
        samples = [single(*sample) for batch in result['batches'] for sample in batch['samples'] if 1.005e9 <= sample[0] - origin < 2.005e9]
        self.assertEqual(sorted(single(*row.split(',')) for row in rows), sorted(samples))

    def test_the_shown_range_is_a_recording_that_replays_alike(self):
        for name, camera, begin in (('sick', 0, 3), ('pair', 2, 0)):
            with self.subTest(page=name):
                self.browser.driver.get('about:blank')
                self.browser.driver.get(f'{(self.place / name).as_uri()}.html#camera={camera}&from={begin}.005&to={begin + 2}.005')
                self.browser.settle()
                saved = self.browser.driver.execute_async_script("""const [blobs, files, done] = [[], {}, arguments[0]];
                    URL.createObjectURL = (blob) => { blobs.push(blob); return 'data:,'; };
                    HTMLAnchorElement.prototype.click = function () { files[this.download] = blobs.at(-1).text(); };
                    [...document.querySelectorAll('button')].find((one) => one.textContent === 'recording').click();
                    Promise.all(Object.values(files)).then((texts) => done(Object.fromEntries(Object.keys(files).map((name, i) => [name, texts[i]]))));""")
                directory = self.place / f'{name}-saved'
                directory.mkdir(exist_ok=True)
                for file in ('frames.csv', 'hall.csv'):
                    (directory / file).write_text(saved[file])
                done = self.tool.run('replay', directory, '--camera', camera, '--quiet', '--format', 'json')
                frames = self.result(name)['frames']
                whole = {frame['frame']: frame for frame in frames if frame['camera'] == camera}
                again = json.loads(done.stdout)['frames']
                first = frames[0]['timestamp_ns'] + begin * 1e9 + 5e6
                expected = [number for number, frame in whole.items() if first <= frame['timestamp_ns'] <= first + 2e9]
                self.assertEqual([frame['frame'] for frame in again], expected)
                inside = again[40:]  # the library's history is that of 30 frames
                self.assertIn('start', {frame['match'] for frame in inside})
                for frame in inside:
                    self.assertEqual(frame, whole[frame['frame']])

    def test_a_recording_is_offered_where_all_of_it_is_told(self):
        whole = self.result('pair')
        for change, is_offered in ((lambda result: None, True),
                                   (lambda result: result['batches'][8].pop('frame'), False),
                                   (lambda result: [frame.update(readout_us=None) for frame in result['frames']], False),
                                   (lambda result: result.pop('batches'), False)):
            result = json.loads(json.dumps(whole))
            change(result)
            self.tool.run('report', '-', '-o', self.place / 'changed.html', input=json.dumps(result))
            self.open('changed')
            labels = self.browser.run('return [...document.querySelectorAll("button")].map((one) => one.textContent)')
            self.assertEqual('recording' in labels, is_offered)

    def test_an_incomplete_recording_is_told_on_top(self):
        whole = self.result('pair')
        for state, calls, samples, text in (
                ('complete', 0, 0, None),
                ('complete', 1, 0, 'The recording has losses. 1 call is known to be lost.'),
                ('running', 0, 0, 'The recording is unfinished: its capture was still running or was killed. No call and no sample is known to be lost.'),
                ('broken', 3, 1200, 'The recording is broken: its capture could not write a file to the end. 3 calls and 1\u202f200 samples are known to be lost.')):
            whole['summary']['capture'] = {'complete': text is None, 'state': state, 'lost_calls': calls, 'lost_samples': samples}
            self.tool.run('report', '-', '-o', self.place / 'changed.html', input=json.dumps(whole))
            self.open('changed')
            shown = self.browser.run('return [...document.querySelectorAll("header ~ .notice")].map((one) => one.textContent)')
            self.assertEqual(shown, [text] if text else [])

    def test_the_story_of_a_frame_stands_beside_it(self):
        explained = self.result('told')
        self.assertEqual(len(explained['explained']), len(explained['frames']))
        for i in (60, 150):
            self.browser.driver.get('about:blank')
            self.browser.driver.get(f'{(self.place / "told.html").as_uri()}#frame={explained["frames"][i]["frame"]}')
            self.browser.settle()
            told = self.browser.run('return [...document.querySelectorAll(".detail .story li")].map((one) => one.textContent)')
            self.assertEqual([text.replace('\u00a0µs', ' us') for text in told], explained['explained'][i]['steps'])

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
        axis = 'return document.querySelector(".plot.with-axis").textContent'
        before = self.browser.run(axis)
        self.browser.press('+')
        self.browser.settle()
        self.assertNotEqual(self.browser.run(axis), before)
        zoomed = self.browser.run(axis)
        plot = self.browser.driver.find_element(By.CSS_SELECTOR, '.plot.with-axis')
        ActionChains(self.browser.driver).drag_and_drop_by_offset(plot, -200, 0).perform()
        self.browser.settle()
        self.assertNotEqual(self.browser.run(axis), zoomed, 'a drag moves')
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
                const views = [...document.querySelectorAll('.detail [data-frame]')];
                return [keys(views[0], '.differs [data-key]'), keys(views[1], '[data-key]')];''')
            self.assertEqual({key for key, _ in marked}, differing[number] & set(self.shown()))
            self.expect_numbers(dict(beside), second[number])
            self.browser.press('ArrowRight')
        apart = {number: math.dist((frame['hall_x'], frame['hall_y']), (second[number]['hall_x'], second[number]['hall_y']))
                 for number, frame in first.items() if None not in (frame['hall_x'], second[number]['hall_x'])}
        sizes = sorted(filter(None, apart.values()), reverse=True)
        for key, size in (('}', sizes[0]), ('}', sizes[1]), ('{', sizes[0])):
            self.browser.press(key)
            self.assertEqual(apart[self.place_shown()[0]], size, 'the frames by the size of their difference')
        text = self.browser.run('return document.body.innerText')
        self.assertIn(f'{len(sizes)} positions differ, median {sizes[len(sizes) - 1 - len(sizes) // 2]:.3f}', text)
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
        self.assertGreater(self.browser.run(right, 'afterprint'), 750)

    def test_a_result_without_samples_says_so(self):
        self.open('sparse')
        text = self.browser.run('return document.body.innerText')
        self.assertIn('The result holds no samples', text)
        self.assertIn('The result does not hold the times of this frame', text)

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
        result = self.result('fit')
        self.open('fit')
        outlier = result['outliers'][3]['frame']
        self.browser.run('[...document.querySelectorAll("#image button")].find((one) => one.textContent === arguments[0]).click()', str(outlier))
        self.browser.settle()
        self.assertIn(f'frame {outlier} ·', self.browser.run('return document.querySelector("#image .values").textContent'))
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
        frames = len(self.result('long')['frames'])
        self.assertLess((self.place / 'long.html').stat().st_size - 230 * frames, 400000 + 17 * samples)
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
        svg = self.files[0]
        if '--update' in self.options:
            svg.write_bytes(made)
            self.fail(f'{svg} was renewed, not compared')
        self.assertEqual(svg.read_bytes(), made, f'{svg}: renew it with --update')


if __name__ == '__main__':
    run_tests(Reports)
