"""Reviews a report as a person would, with keys and clicks, and saves the decisions.

usage: review_in_browser.py BROWSER PAGE FOLDER. The page has pairs of several candidates, and an
abstract whose last name is HOSTILE. Leaves FOLDER/decisions.csv; a check that fails ends it with 1.
"""

import csv
import json
import os
import sys
import time

from browser import Browser

HOSTILE = "</script><b>\u2028\u202e\u0007'\"&amp;"


def check(holds, what):
    if not holds:
        raise SystemExit(f"not so: {what}")


def check_equal(actual, expected, what):
    check(actual == expected, f"{what}: {actual!r} instead of {expected!r}")


def check_first_sight(browser, page):
    check_equal(browser.requests, ["file://" + page], "what the page asks for")
    check_equal(browser.evaluate("report.rules.length > 3 && report.histogram.length > 3"), True,
                "rules and histogram are there")
    shown = browser.text("body")
    check("score" not in shown.lower().replace("show scores", ""), "scores are hidden at first")
    check(browser.evaluate("""report.abstracts.every(({pairs}) =>
        pairs.every((pair, i) => i === 0 || pairs[i - 1].patient < pair.patient))"""),
        "candidates stand in the order of their identifiers")
    # Each rule's share is rounded as it is added: the shares are the score.
    check(browser.evaluate("""report.abstracts.every(({pairs}) => pairs.every((pair) =>
        pair.rules.reduce((sum, rule) => sum + rule[0], 0) === pair.score))"""),
        "the bars add up to the score")


def check_hostile(browser):
    at = browser.evaluate("places.findIndex(({a}) => report.abstracts[a].person[0] === " +
                          json.dumps(HOSTILE) + ")")
    check(at >= 0, "a hostile value arrives as it is")
    browser.evaluate(f"goTo({at})")
    shown = "</script><b>\u2039U+2028\u203a\u2039U+202E\u203a\u2039U+0007\u203a'\"&amp;"
    check(shown in browser.text("#title"), "a hostile name is text")
    check(shown in browser.text("#person"), "a hostile value is text")
    check_equal(browser.evaluate("document.querySelectorAll('main b').length"), 0,
                "elements made of a value")


def check_marks(browser):
    for left, right, expected in [
            ("MARTHA", "MARHTA", "MAR[TH]A|MAR[HT]A"),
            ("SMITH", "Smithe", "SMITH|Smith+e+"),
            ("ANNA-MARIA", "ANNA", "ANNA-MARIA|ANNA"),
            ("ANNA-MAR", "ANNA", "ANNA--MAR-|ANNA"),
            ("JOHN", "ROBERT", "[JOHN]|[ROBERT]"),
            ("O\u2019Ne\u00e9l", "O\u2019NE\u00c9L", "O\u2019Ne\u00e9l|O\u2019NE\u00c9L"),
            ("01/02/1950", "01/20/1950", "01/[02]/1950|01/[20]/1950")]:
        if expected == "ANNA-MARIA|ANNA":  # less than half in common
            expected = "[ANNA-MARIA]|[ANNA]"
        signs = "{same: ['', ''], changed: ['[', ']'], gone: ['-', '-'], added: ['+', '+']}"
        actual = browser.evaluate(
            f"(() => {{ const signs = {signs}, d = differences({json.dumps(left)}, "
            f"{json.dumps(right)}); return [d.left, d.right].map((pieces) => pieces.map((p) => "
            "signs[p.mark][0] + p.text + signs[p.mark][1]).join('')).join('|'); })()")
        check_equal(actual, expected, f"the marks of {left} and {right}")


def walk_and_decide(browser):
    """Gives the rows that the decisions stand for, without reviewer and note."""
    abstracts = browser.evaluate(
        "report.abstracts.map(({id, pairs}) => [id, pairs.map((pair) => pair.patient)])")
    several = next(i for i, (_, patients) in enumerate(abstracts) if len(patients) > 1)
    single = [i for i, (_, patients) in enumerate(abstracts) if len(patients) == 1][:2]

    def stand_on(index):
        browser.click(f"#list li:nth-child({index + 1}) button")
        check_equal(browser.evaluate("abstractHere().id"), abstracts[index][0], "where a click goes")

    def answer(index):
        return browser.evaluate(
            f"(({{choice, declined}}) => [choice, Object.keys(declined).map(Number)])"
            f"(answerOf(report.abstracts[{index}]))")

    stand_on(several)
    first, second = abstracts[several][1][:2]
    browser.press("j")
    check_equal(browser.evaluate("pairHere().patient"), second, "j goes on")
    browser.press(["ArrowUp"])
    check_equal(browser.evaluate("pairHere().patient"), first, "the arrow goes back")
    browser.press("y")
    check_equal(answer(several), [first, []], "y chooses")
    stand_on(several)
    browser.press("jy")
    check_equal(answer(several), [second, []], "a second y is the only choice")
    stand_on(several)
    browser.press("jn")
    check_equal(answer(several), [None, [second]], "n takes the choice back")
    browser.press("u")
    check_equal(answer(several), [second, []], "u undoes the last decision")
    stand_on(several)
    browser.press("n")
    check_equal(answer(several), [second, [first]], "one is declined beside the choice")

    browser.evaluate(f"goTo(places.findIndex(({{a}}) => a === {single[0]}))")
    browser.click("#new")
    browser.evaluate(f"goTo(places.findIndex(({{a}}) => a === {single[1]}))")
    browser.click("#note")
    browser.type('yn "wrong", said Ng')
    browser.press(["y", "w", "Escape", "n"])
    check_equal(answer(single[1])[1], abstracts[single[1]][1], "n alone decides")
    check("3 of " in browser.text("#progress-text"), "the progress is told")
    return [[str(abstracts[several][0]), f"no {first}"],
            [str(abstracts[several][0]), str(second)],
            [str(abstracts[single[0]][0]), "new"],
            [str(abstracts[single[1]][0]), f"no {abstracts[single[1]][1][0]}"]]


def check_reload(browser, page):
    before = browser.evaluate("decisionsCsv()")
    browser.press("s")
    check(browser.evaluate("!element('scores').hidden && document.querySelectorAll("
                           "'#scores .rules svg').length === report.rules.length"),
          "s shows a bar for each rule")
    browser.open(page)
    check_equal(browser.evaluate("decisionsCsv()"), before, "what a reload keeps")
    check(browser.evaluate("element('scores').hidden && element('scores').children.length === 0"),
          "a reload hides the scores")
    browser.click("#undecided-only")
    check_equal(browser.evaluate("rows.filter(({item}) => item.hidden).length"), 3,
                "abstracts hidden as decided")
    browser.press(["j"] * browser.evaluate("places.length"))
    check(browser.evaluate("stillOpen(here())"), "the walk passes over what is decided")
    browser.click("#undecided-only")


def check_paper(browser):
    browser.evaluate("dispatchEvent(new Event('beforeprint'))")
    check_equal(browser.evaluate("document.querySelectorAll('#paper article').length"),
                browser.evaluate("places.length"), "pairs on paper")
    check("Score" not in browser.evaluate("element('paper').textContent"), "no scores on paper")
    browser.evaluate("dispatchEvent(new Event('afterprint'))")


def save(browser, folder):
    browser.call("Page.setDownloadBehavior", behavior="allow", downloadPath=folder)
    browser.click("#save")
    check_equal(browser.evaluate("document.activeElement.id"), "reviewer", "who is asked for")
    browser.type("Ito, M.")
    browser.press(["Escape"])
    browser.click("#save")
    path = os.path.join(folder, "decisions.csv")
    end = time.monotonic() + 20
    while not os.path.exists(path) and time.monotonic() < end:
        time.sleep(0.05)
    with open(path, newline="", encoding="utf-8") as file:
        return list(csv.reader(file))


def main(program, page, folder):
    with Browser(program) as browser:
        seconds = browser.open(page)
        print(f"open after {seconds:.2f} s")
        check(seconds < 20, "the page opens soon")
        check_first_sight(browser, page)
        check_hostile(browser)
        check_marks(browser)
        rows = walk_and_decide(browser)
        check_reload(browser, page)
        check_paper(browser)
        saved = save(browser, folder)
        check_equal(saved[0], ["abstract", "patient", "reviewer", "note"], "the heading")
        check_equal(sorted(row[:2] for row in saved[1:]), sorted(rows), "the decisions")
        check_equal({row[2] for row in saved[1:]}, {"Ito, M."}, "the reviewer")
        check_equal(next(row[3] for row in saved if row[:2] == rows[3]), 'yn "wrong", said Ngyw',
                    "the note")
        check_equal(set(browser.requests) - {"file://" + page},
                    {url for url in browser.requests if url.startswith("blob:")},
                    "what else was asked for")
        check_equal(browser.errors, [], "errors of the page")


main(*sys.argv[1:])
