#!/usr/bin/env python3
"""An independent reading of TOSEC names, for comparison with the parser.

Reads pairs of lines (name, file name) from standard input; writes one line per pair with the nine results
separated by tabs. Written with the BASIC runtime's 1-based text functions, as plainly as possible.
"""
import re
import sys

LANGUAGES = [
    ("us", "United States (English)"), ("jp", "Japanese"), ("uk", "United Kingdom (English)"),
    ("en", "English"), ("fr", "French"), ("de", "German"), ("sp", "Spanish"), ("nl", "Dutch"),
    ("it", "Italian"), ("cz", "Czech"), ("sw", "Swedish"), ("hk", "Hong Kong"), ("au", "Australian"),
    ("pl", "Polish"), ("br", "Brazilian"), ("eu", "European")]
YEARS = [("(19xx)", 2), ("(197x)", 3), ("(198x)", 4), ("(199x)", 5), ("(20xx)", 6), ("(200x)", 7),
         ("(201x)", 8), ("(202x)", 9)] + [("(%d)" % year, year - 1960) for year in range(1970, 2011)]


def instr(text, find, start=1):
    return text.find(find, start - 1) + 1


def mid(text, start, length=None):
    return text[start - 1:] if length is None else text[start - 1:start - 1 + max(length, 0)]


def remove(text, what):
    return re.sub(re.escape(what), "", text, flags=re.IGNORECASE)


def trim(text):
    return text.strip(" ")


def read(title, file):
    if title == "":
        return None
    if file[:8].upper() == "ZZZ-UNK-":
        file = file[8:]
    if title[:8].upper() == "ZZZ-UNK-":
        title = title[8:]

    if title == "":
        name = "ZZZ-UNK-"
    else:
        p = instr(title, "(")
        if p == 0:
            name = title
        else:
            low = title.lower()
            start = p
            if mid(low, p, 9) == "(preview)" or mid(low, p, 6) == "(demo)" or mid(low, p, 10) == "(playable ":
                q = instr(title, ")", p)
                if q:
                    name = trim(title[:q])
                    start = q
                else:
                    name = title
            else:
                name = trim(title[:p - 1])
            r = instr(title, "(", start)
            s = instr(title, "(", r + 1) if r else 0
            t = instr(title, ")", s) if s else 0
            if r and s and t:
                name = name + " " + mid(title, t + 1)

    low = file.lower()
    save = "[f save]" in low
    name = remove(name, "[f save]")
    if "(pal)" in low:
        video = 1 if "[f ntsc]" in low else 0
    elif "(ntsc)" in low:
        video = 2
    else:
        video = 1 if "[f ntsc]" in low else 3
    for group in ("(pal)", "(ntsc)", "[f ntsc]"):
        name = remove(name, group)
    public = "Public Domain" if "(pd)" in low else ""
    name = remove(name, "(pd)")
    comment = ""

    c = instr(low, "[cr")
    e = instr(low, "]", c) if c else 0
    if not e:
        cracker = "~NONE~"
    elif e == c + 3:
        cracker = ""
        comment = "[cracked by ?]"
        name = remove(name, "[cr]")
    else:
        cracker = trim(mid(file, c + 3, e - c - 3))
        name = remove(name, "[cr " + cracker + "]")

    t = instr(low, "[t")
    e = instr(low, "]", t) if t else 0
    if not e:
        trainers = 0
    elif e == t + 2:
        trainers = -1
        comment += " [trained]"
        name = remove(name, "[t]")
    else:
        text = trim(mid(file, t + 3, e - t - 3))
        name = remove(name, "[t " + text + "]")
        if text[:1] == "+":
            number = re.match(r" *([+-]?[0-9]+)", text[1:])
            trainers = max(-1, int(number.group(1))) if number else 0
        else:
            trainers = -1
            comment += " [trained]"

    language = ""
    for code, spoken in LANGUAGES:
        if "(" + code + ")" in low:
            language = spoken
            name = remove(name, "(" + code + ")")
            break
    if language == "":
        for n in range(3, 7):
            if "(m%d)" % n in low:
                language = "Multi-Language (%d)" % n
                name = remove(name, "(m%d)" % n)
                break
    if language == "":
        for code, spoken in LANGUAGES:
            p = instr(low, "(" + code + "-")
            q = instr(low, ")", p) if p else 0
            if not q:
                continue
            whole = trim(mid(file, p, q - p + 1))
            if q == p + 6:
                second = trim(mid(file, p + 4, 2))
                known = [other for other in LANGUAGES if other[0] == second.lower()]
                if known:
                    language = spoken + " / " + known[0][1]
                    name = remove(name, "(" + code + "-" + known[0][0] + ")")
                else:
                    language = spoken + " / " + trim(second[:128])
                    name = remove(name, whole)
            elif q == p + 4:
                language = spoken
                name = remove(name, whole)
                break
            else:
                language = "Multi-Language (?)"
                name = remove(name, whole)
                break
    if language == "":
        language = "English"

    year_id, y = 1, 0
    for token, identifier in YEARS:
        if token in low:
            year_id, y = identifier, instr(low, token)
            break
    name = remove(name, "(y)")
    publisher = ""
    if y:
        a = instr(low, "(", y + 1)
        b = instr(low, ")", a) if a else 0
        if b > a + 1:
            publisher = trim(mid(file, a + 1, b - a - 1))
        if publisher == "-":
            publisher = ""
    name = remove(name, "(-)")
    return [name, year_id, publisher, language, cracker, trainers, video, public, comment, int(save)]


def main():
    lines = sys.stdin.buffer.read().decode("utf-8").split("\n")
    for title, file in zip(lines[0::2], lines[1::2]):
        row = read(title, file)
        sys.stdout.buffer.write(("\t".join(map(str, row)) if row else "").encode("utf-8") + b"\n")


if __name__ == "__main__":
    main()
