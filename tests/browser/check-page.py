"""Walks through pages of vesk-lts in Chromium: clicks, addresses, keyboard, search, hostile texts.

Every page must leave the console empty and ask for nothing but itself.
"""
import argparse
import json
import os
import shutil
import subprocess
import sys
import unittest

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import WebDriverWait

options = None  # of the command line

HOSTILE = [
    "</script><script>window.broken = 1</script>",
    "<img src=x onerror='window.broken = 2'>",
    '"><svg onload="window.broken = 3">',
    "javascript:window.broken=4",
    "<!--<script>",
    "&lt;b&gt;&amp;\\u003c\\n\\l\\N%s",
    "a\u2028b\u2029c\x1b[31m",
    "https://example.invalid/x.png",
    "]]><style>body{display:none}</style>",
]


def start_browser():
    chrome = webdriver.ChromeOptions()
    chrome.binary_location = options.chromium
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                     "--no-first-run", "--disable-background-networking", "--window-size=1000,900"):
        chrome.add_argument(argument)
    chrome.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    return webdriver.Chrome(service=Service(options.driver), options=chrome)


def run(*command):
    environment = dict(os.environ, PATH=options.programs + os.pathsep + os.environ["PATH"])
    subprocess.run(command, cwd=options.scratch, env=environment, check=True,
                   stdout=subprocess.DEVNULL)


def write_exploration(name, texts, transitions, deadlocks):
    """The files as a breadth-first search leaves them."""
    path = os.path.join(options.scratch, name)
    with open(path + ".aut", "wb") as file:
        file.write(b"des(0, %d, %d)\n     \n" % (len(transitions), len(texts)))
        for source, label, target in transitions:
            file.write(b"(%d, %s, %d)\n" % (source, label, target))
    with open(path + ".state", "wb") as file:
        for number, text in enumerate(texts):
            file.write(b"%d : %s\n" % (number, text))
    with open(path + ".deadlock", "wb") as file:
        file.writelines(b"%d\n" % state for state in deadlocks)
    open(path + ".pruned", "w").close()


class PageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        shutil.rmtree(options.scratch, ignore_errors=True)
        os.makedirs(options.scratch)
        run("philosophers", "--bfs", "-o", "table", "2")
        run("vesk-lts", "page", "table", "-o", "table.html")
        cls.browser = start_browser()

    @classmethod
    def tearDownClass(cls):
        cls.browser.quit()

    def tearDown(self):
        self.check_that_it_is_quiet()

    # Nothing runs that should not, nothing complains, nothing is asked for.
    def check_that_it_is_quiet(self):
        self.assertEqual([], self.browser.get_log("browser"))
        self.assertIsNone(self.browser.execute_script("return window.broken || null"))
        asked = []
        for entry in self.browser.get_log("performance"):
            message = json.loads(entry["message"])["message"]
            if message["method"] == "Network.requestWillBeSent":
                asked.append(message["params"]["request"]["url"])
        for address in asked:
            self.assertTrue(address.startswith("file://" + options.scratch), address)
        return asked

    def open(self, page, address=""):
        self.check_that_it_is_quiet()
        self.browser.get("about:blank")  # so that another address is another visit
        self.browser.get("file://" + os.path.join(options.scratch, page) + address)
        self.assertTrue(self.check_that_it_is_quiet())

    def find(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def find_all(self, selector):
        return self.browser.find_elements(By.CSS_SELECTOR, selector)

    def text(self, selector):
        return self.find(selector).text

    def wait_for(self, selector, text):
        WebDriverWait(self.browser, 10).until(lambda browser: self.text(selector) == text,
                                              f"{selector} never became {text!r}")

    def focused(self):
        return self.browser.switch_to.active_element.get_attribute("id")

    def address(self):
        return self.browser.execute_script("return location.hash")

    # ---- The table of two philosophers: 6 states, 8 transitions, state 4 is the deadlock -------------

    def test_it_opens_at_the_initial_state_with_the_counts(self):
        self.open("table.html")
        self.assertEqual("table.aut", self.text("h1"))
        self.assertEqual("table.aut", self.browser.title)
        self.assertEqual("6 states, 8 transitions", self.text("#counts"))
        self.assertEqual("State 0 (initial)", self.text("#state-title"))
        self.assertEqual("t,f,t,f,", self.text("#state-text"))
        self.assertEqual("Transitions out of it: 2", self.text("#out-title"))
        self.assertEqual("Transitions into it: 2", self.text("#in-title"))

    def test_the_overview_has_levels_and_deadlocks(self):
        self.open("table.html")
        rows = [row.text for row in self.find_all("#levels tbody tr")]
        self.assertEqual(["0 1", "1 2", "2 3"], rows)
        self.assertEqual(["1", "2", "3"],
                         [bar.get_attribute("value") for bar in self.find_all("#levels meter")])
        self.assertEqual("Deadlocks: 1", self.text("#special-deadlock"))
        self.assertIn("State 4 (deadlock) l,u,l,u,", self.text("#special"))
        self.assertIn("Pruned states: 0", self.text("#special"))

    def test_clicks_walk_and_mark_what_changed(self):
        self.open("table.html")
        self.find("#out-list a[href='#state-1']").click()
        self.wait_for("#state-title", "State 1")
        self.assertEqual("#state-1", self.address())
        self.assertEqual("state-title", self.focused())
        self.assertEqual(["l", "u"], [mark.text for mark in self.find_all("#state-text mark")])
        self.assertEqual("Marked is what changed since state 0.", self.text("#state-change"))
        self.find("#out-list a[href='#state-4']").click()
        self.wait_for("#state-title", "State 4 (deadlock)")
        self.assertEqual("2 steps from the initial state", self.text("#state-kind"))
        self.find("#in-list a[href='#state-2']").click()
        self.wait_for("#state-title", "State 2")

    def test_back_and_forward_lead_through_the_states(self):
        self.open("table.html")
        self.find("#out-list a[href='#state-2']").click()
        self.wait_for("#state-title", "State 2")
        self.find("#out-list a[href='#state-5']").click()
        self.wait_for("#state-title", "State 5")
        self.browser.back()
        self.wait_for("#state-title", "State 2")
        self.browser.back()
        self.wait_for("#state-title", "State 0 (initial)")
        self.browser.forward()
        self.wait_for("#state-title", "State 2")

    def test_an_address_opens_its_state(self):
        self.open("table.html", "#state-4")
        self.assertEqual("State 4 (deadlock)", self.text("#state-title"))
        # The text of the state before on the shortest way is t,f,l,u,.
        self.assertEqual(["l", "u"], [mark.text for mark in self.find_all("#state-text mark")])

    def test_an_address_that_is_nowhere_says_so(self):
        self.open("table.html", "#state-77")
        self.assertEqual("There is no state 77 here.", self.text("#status"))
        self.assertEqual("State 0 (initial)", self.text("#state-title"))

    def test_the_shortest_way_from_the_initial_state(self):
        self.open("table.html", "#state-4")
        self.find("#way-from-initial").click()
        self.wait_for("#way-title", "Shortest way from the initial state: 2 steps")
        self.assertEqual("#state-4/from-initial", self.address())
        self.assertEqual("way-title", self.focused())
        steps = [step.text for step in self.find_all("#way-list li")]
        self.assertEqual(["State 0 (initial) t,f,t,f,",
                          "table/left1/P1:left|F1:take to State 1 t,f,l,u,",
                          "table/left0/P0:left|F0:take to State 4 (deadlock) l,u,l,u,"], steps)

    def test_the_shortest_way_to_the_next_deadlock(self):
        self.open("table.html", "#state-3/to-deadlock")
        # 3 -> 0 -> 1 or 2 -> 4
        self.assertEqual("Shortest way to the next deadlock: 3 steps", self.text("#way-title"))
        self.assertEqual(4, len(self.find_all("#way-list li")))

    def test_search_finds_numbers_texts_and_labels(self):
        self.open("table.html")
        self.find("#search").send_keys("e,u", Keys.ENTER)
        self.wait_for("#results-title", 'Found for "e,u": 2')
        self.assertEqual(["State 3 t,u,e,u,", "State 5 e,u,t,u,"],
                         [item.text for item in self.find_all("#results-list li")])
        self.assertEqual("results-title", self.focused())
        self.find("#search").clear()
        self.find("#search").send_keys("release1", Keys.ENTER)
        self.wait_for("#results-title", 'Found for "release1": 1')
        self.assertEqual("State 3 table/release1/P1:release|F1:drop|F0:drop to State 0",
                         self.text("#results-list li"))
        self.find("#search").clear()
        self.find("#search").send_keys("5", Keys.ENTER)
        self.wait_for("#results-title", 'Found for "5": 1')
        self.find("#results-list a").click()
        self.wait_for("#state-title", "State 5")
        self.assertFalse(self.find("#results").is_displayed())

    def test_a_search_has_an_address(self):
        self.open("table.html", "#search=l%2Cu%2Cl")
        self.assertEqual('Found for "l,u,l": 1', self.text("#results-title"))
        self.assertEqual("l,u,l", self.find("#search").get_attribute("value"))

    def test_the_keyboard_reaches_everything_in_order(self):
        self.open("table.html")
        body = self.find("body")
        body.send_keys(Keys.TAB)
        seen = []
        for _ in range(8):
            active = self.browser.switch_to.active_element
            seen.append(active.text or active.get_attribute("id"))
            active.send_keys(Keys.TAB)
        self.assertEqual(["Skip to the state", "search", "Search", "Initial state", "Overview",
                          "Drawing", "Shortest way from the initial state",
                          "Shortest way to the next deadlock"], seen)
        active = self.browser.switch_to.active_element
        self.assertEqual("State 1", active.text)
        active.send_keys(Keys.ENTER)
        self.wait_for("#state-title", "State 1")

    def test_what_screen_readers_need_is_there(self):
        self.open("table.html")
        self.assertEqual("en", self.find("html").get_attribute("lang"))
        for selector in ("header", "nav[aria-label]", "main", "form[role=search]",
                         "label[for=search]", "[role=status]"):
            self.assertEqual(1, len(self.find_all(selector)), selector)
        for section in self.find_all("section"):
            title = section.get_attribute("aria-labelledby")
            self.assertEqual(1, len(self.find_all("#" + title)), title)
        for bar in self.find_all("meter"):
            self.assertRegex(bar.get_attribute("aria-label"), r"^Level \d+: \d+ states$")

    def test_the_drawing_leads_to_states(self):
        if shutil.which("dot") is None:
            self.skipTest("Graphviz is not installed")
        self.open("table.html")
        nodes = self.find_all("#drawing svg g.node")
        self.assertEqual(7, len(nodes))  # the states, and the point of the arrow to the initial one
        link = self.browser.find_element(By.XPATH, "//*[@*='#state-5']")
        self.browser.execute_script("arguments[0].focus()", link)
        link.send_keys(Keys.ENTER)
        self.wait_for("#state-title", "State 5")
        self.assertEqual(1, len(self.find_all("#drawing .here")))

    # ---- Other pages ----------------------------------------------------------------------------------

    def test_hostile_texts_and_labels_are_shown_as_they_are(self):
        texts = [text.encode() for text in HOSTILE] + [b"\xff\xfe not UTF-8"]
        transitions = [(i, text, i + 1) for i, text in enumerate(texts[:-1])]
        write_exploration("hostile", texts, transitions, [len(texts) - 1])
        run("vesk-lts", "page", "hostile", "-o", "hostile.html")
        for number, text in enumerate(HOSTILE):
            self.open("hostile.html", f"#state-{number}")
            shown = text.replace("\x1b", "\\x1b")
            self.assertEqual(shown, self.find("#state-text").get_attribute("textContent"))
            self.assertEqual(shown, self.find("#out-list .label").get_attribute("textContent"))
            self.assertIsNone(self.browser.execute_script("return window.broken || null"))
        self.open("hostile.html", f"#state-{len(HOSTILE)}")
        self.assertEqual("\ufffd\ufffd not UTF-8", self.text("#state-text"))
        self.open("hostile.html", "#search=%3Cimg")
        self.assertEqual('Found for "<img": 2', self.text("#results-title"))
        self.assertEqual(0, len(self.find_all("img")))
        self.assertEqual(2, len(self.find_all("script")))
        self.open("hostile.html", "#search=%E0%A4%A")  # not a whole escape
        self.assertEqual('Found for "%E0%A4%A": 0', self.text("#results-title"))

    def test_a_hostile_name_is_shown_as_it_is(self):
        name = "a<script>window.broken = 5<&'\""
        write_exploration(name, [b"x"], [], [0])
        run("vesk-lts", "page", name, "-o", "name.html")
        self.open("name.html")
        self.assertEqual(name + ".aut", self.text("h1"))
        self.assertEqual(name + ".aut", self.browser.title)

    def test_a_part_keeps_its_numbers_and_says_that_it_is_one(self):
        run("vesk-lts", "page", "table", "--around", "5", "--radius", "1", "-o", "part.html")
        self.open("part.html")
        # 2 -> 5 -> 0, and 0 -> 2 between them; the initial state is in it
        self.assertEqual("3 states, 3 transitions, around state 5 of 6 states and 8 transitions",
                         self.text("#counts"))
        self.find("#out-list a[href='#state-2']").click()
        self.wait_for("#state-title", "State 2")

    def test_long_lists_grow_when_asked(self):
        count = 450
        write_exploration("wide", [b"s%d" % i for i in range(count + 1)],
                          [(0, b"to %d" % i, i) for i in range(1, count + 1)],
                          range(1, count + 1))
        run("vesk-lts", "page", "wide", "-o", "wide.html")
        self.open("wide.html")
        self.assertEqual(200, len(self.find_all("#out-list li")))
        more = self.find("#out-list + .more")
        self.assertEqual("Show more: 250 are left", more.text)
        more.send_keys(Keys.ENTER)
        self.assertEqual(400, len(self.find_all("#out-list li")))
        self.assertEqual("State 201", self.browser.switch_to.active_element.text)
        self.find("#out-list + .more").send_keys(Keys.ENTER)
        self.assertEqual(count, len(self.find_all("#out-list li")))
        self.assertEqual(0, len(self.find_all("#out-list + .more")))

    def test_a_hundred_thousand_transitions_can_be_walked(self):
        width = 10000
        transitions = []
        for state in range(width):
            transitions += [(state, b"c/k%d/p" % (k % 50), (state * 7 + k) % width)
                            for k in range(10)]
        transitions.sort(key=lambda transition: transition[0])
        write_exploration("large", [b"s,%d,x" % i for i in range(width)], transitions, [])
        run("vesk-lts", "page", "large", "-o", "large.html")
        self.open("large.html", "#state-9999")
        self.assertEqual("State 9999", self.text("#state-title"))
        timing = "const t = performance.getEntriesByType('navigation')[0]; return t.loadEventEnd"
        print("100,000 transitions open in %.0f ms" % self.browser.execute_script(timing))


def main():
    global options
    parser = argparse.ArgumentParser()
    for name in ("--chromium", "--driver", "--programs", "--scratch"):
        parser.add_argument(name, required=True)
    options, rest = parser.parse_known_args()
    unittest.main(argv=sys.argv[:1] + rest, verbosity=2)


main()
