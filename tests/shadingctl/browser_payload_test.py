#!/usr/bin/python3
"""Puts a payload into each text and number of the documents that a report shows; none may act in the page or halt it.

usage: browser_payload_test.py SHADINGCTL DIRECTORY

DIRECTORY holds what the test writes. Ends with 77 (skipped) where Chromium, its driver or Selenium is missing.
"""

import concurrent.futures
import json
import unittest

from report_browser import Browser, make_kinds, run_tests

# Calls hit(PLACE) where it acts.
PAYLOAD = '"><img src=x onerror="hit({0})"></style></script><script>hit({0})</script>{{{{}}}}${{hit({0})}}'
EXTREMES = (1.7e308, -9007199254740993)  # numbers that a document may hold
DATA_BEGIN = '<script type="application/json" id="data">'
DATA_END = '</script>\n<!-- dygraphs'

# Shows each of the documents in `many` as the page's own, one after the other; answers what each of them did wrong.
SHOW_EACH = '''
const done = arguments[0];
const [page, data] = ['page', 'data'].map((id) => document.getElementById(id));
const found = [];
let shown = -1;
window.hit = (place) => found.push([place, 'it acted']);
const complain = (what) => found.push([shown, what]);
document.addEventListener('securitypolicyviolation', (event) => complain(`${event.violatedDirective}: ${event.blockedURI}`));
window.addEventListener('error', (event) => complain(event.message));
window.addEventListener('unhandledrejection', (event) => complain(String(event.reason)));
const drawn = () => new Promise((after) => requestAnimationFrame(() => setTimeout(after)));
(async () => {
  const documents = JSON.parse(document.getElementById('many').textContent);
  for (const one of documents) {
    ++shown;
    history.replaceState(null, '', location.pathname);
    page.replaceChildren();
    data.firstChild.data = JSON.stringify([one]);
    main();
    await drawn();
    if (document.querySelectorAll('img').length > 0) complain('it made an image');
    if (!page.querySelector('section')) complain(`no section: ${page.textContent.slice(0, 80)}`);
  }
  done([documents.length, found]);
})().catch((error) => done([shown, [[shown, String(error)]]]));
'''


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


class Payloads(unittest.TestCase):
    tool = None  # of the command line

    @classmethod
    def setUpClass(cls):
        make_kinds(cls.tool)
        cls.browser = Browser()

    @classmethod
    def tearDownClass(cls):
        cls.browser.driver.quit()

    def documents(self):
        """Documents and their places: by one payload each."""
        for name in ('sick', 'fit', 'calibration'):
            whole = self.tool.result(name)
            if name == 'sick':  # whose first entries of lists stand for all, and one carried frame for its columns
                whole['frames'] = sorted(whole['frames'][30:60], key=lambda frame: frame['match'])
                whole['batches'] = whole['batches'][:60]
                whole['explained'] = self.tool.result('told')['explained'][30:60]
            for path in leaves(whole):
                for leaf in (PAYLOAD, *EXTREMES):
                    yield whole, (name, path, leaf)

    def test_no_text_or_number_of_a_document_acts_or_halts_the_page(self):
        def page_of(number, whole, place):
            """The page of a document with the payload; empty where it is refused."""
            _, path, leaf = place
            text = leaf.format(number) if isinstance(leaf, str) else leaf
            return self.tool.run('report', '-', input=json.dumps(replaced(whole, path, text)), codes=(0, 3)).stdout

        made = list(self.documents())
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            pages = list(pool.map(page_of, range(len(made)), *zip(*made)))
        opened = [(place, page) for (_, place), page in zip(made, pages) if page]
        self.assertGreater(len(opened), 300)
        # All data of the pages, as the tool wrote it, stands in one of them.
        before, rest = opened[0][1].split(DATA_BEGIN, 1)
        parts = [page.split(DATA_BEGIN, 1)[1].rsplit(DATA_END, 1)[0].strip()[1:-1] for _, page in opened]
        many = DATA_BEGIN.replace('data', 'many') + '[' + ','.join(parts) + ']</script>\n'
        page = self.tool.place / 'payloads.html'
        page.write_text(before + many + DATA_BEGIN + rest)
        self.browser.driver.set_script_timeout(300)
        self.browser.open(page)
        self.browser.resize(1440, 100)  # px; what is not in view need not be painted
        shown, found = self.browser.driver.execute_async_script(SHOW_EACH)
        numbers = [number for number, text in enumerate(pages) if text]
        for number, what in found:
            with self.subTest(number=number, what=what):
                self.fail(made[number][1] if what == 'it acted' else made[numbers[number]][1])
        self.assertEqual(shown, len(opened))
        self.assertEqual((self.browser.complaints(), self.browser.requests()), ([], []))


if __name__ == '__main__':
    run_tests(Payloads)
