"""Makes files that cross a trouble with a place in the file and a way of writing, with the truth of each.

A trouble is a function of a sound file (`Made`) and a place: the first row, one in the middle, or the end. Each
is made three times, by tables, sizes, separators, line ends and encodings that are drawn with a fixed seed, so
that the same files are made each time.
"""

import random
from decimal import Decimal

from nasty import NAMES, Nasty, cells, values

TEXTS = ["made by hand", "old, but sound", "see note; twice", "5 kg | 3 m", "red", 'a "big" one', "", "no more"]
PLACES_IN_FILE = ("start", "middle", "end")


class Made:
    """A table as lines: [text, values or None, is it bad], the names first."""

    def __init__(self, names, separator, rows):
        self.names = list(names)
        self.separator = separator
        self.items = [[self.joined(names), None, False]]
        self.items += [[self.joined(texts), row, False] for texts, row in rows]
        self.has_end = True
        self.tail = b""

    def joined(self, texts):
        return self.separator.join(self.quoted(text) for text in texts)

    def quoted(self, text):
        needs_quotes = any(sign in text for sign in (self.separator, '"', "\n", "\r"))
        return '"' + text.replace('"', '""') + '"' if needs_quotes else text

    def between(self, place):
        """Where a line is put in."""
        return {"start": 1, "middle": 1 + (len(self.items) - 1) // 2, "end": len(self.items)}[place]

    def row(self, place):
        return min(self.between(place), len(self.items) - 1)

    def put(self, index, *lines):
        self.items[index:index] = [[line, None, False] for line in lines]

    def add(self, *lines):
        self.put(len(self.items), *lines)

    def change(self, place, column, text, spelled=None):
        """Another text in one cell, quoted as need be, or spelled in another way."""
        item = self.items[self.row(place)]
        item[1] = [text if index == column else value for index, value in enumerate(item[1])]
        texts = ["" if value is None else str(value) for value in item[1]]
        spellings = [self.quoted(value) for value in texts]
        if spelled is not None:
            spellings[column] = spelled
        item[0] = self.separator.join(spellings)


def stations(count, separator):
    """Number, name, longitude, latitude, depth."""
    rows = [([*cells(i), f"{i % 50}.{i % 10}5"], [*values(i), Decimal(f"{i % 50}.{i % 10}5")]) for i in range(count)]
    return Made([*NAMES, "depth"], separator, rows)


def remarks(count, separator):
    """Code, remark, longitude, latitude, a count with gaps."""
    rows = []
    for i in range(count):
        text, number = TEXTS[i % 8], str(i * 3) if i % 4 else ""
        rows.append(([f"K{i:04}", text, *cells(i)[2:], number],
                     [f"K{i:04}", text or None, *values(i)[2:], int(number) if number else None]))
    return Made(["code", "remark", "lon", "lat", "count"], separator, rows)


def a_blank_line(made, place):
    made.put(made.between(place), "")


def lines_of_separators_alone(made, place):
    made.put(made.between(place), made.separator * 4, made.separator * 4)


def a_comment(made, place):
    made.put(made.between(place), "# checked by hand")


def a_line_of_nuls(made, place):
    made.put(made.between(place), "\0" * 64)


def one_field_too_many(made, place):
    made.items.insert(made.between(place), [made.separator.join(["a", "b", "7.5", "46.5", "1", "2", "x"]), [], True])


def the_last_cell_missing(made, place):
    item = made.items[made.row(place)]
    item[0] = item[0].rpartition(made.separator)[0]
    item[1] = [*item[1][:-1], None]


def a_stray_quote(made, place):
    made.change(place, 1, '3" pipe', '3" pipe')


def an_opener_that_is_text(made, place):
    made.change(place, 1, '"Alpha', '"Alpha')


def a_closer_that_is_text(made, place):
    made.change(place, 1, 'Alpha"', 'Alpha"')


def doubled_quotes_and_the_separator(made, place):
    made.change(place, 1, f'say "yes"{made.separator}ok')


def a_line_break_in_quotes(made, place):
    made.change(place, 1, "two\nlines")


def empty_lines_in_quotes(made, place):
    made.change(place, 1, "two\r\n\r\nlines")


def a_trailing_separator_in_one_row(made, place):
    made.items[made.row(place)][0] += made.separator


def trailing_separators_in_all_rows(made, _):
    for item in made.items[1:]:
        item[0] += made.separator


def no_line_end_at_the_end(made, _):
    made.has_end = False


def control_z_at_the_end(made, _):
    made.tail = b"\x1a"


def a_row_cut_short(made, _):
    made.items.append([f"99{made.separator}Aa", [], True])
    made.has_end = False


def a_row_cut_inside_quotes(made, _):
    made.items.append([made.separator.join(["99", "Aare", "7.5", "46.5", '"a long te']), [], True])
    made.has_end = False


def text_before_the_table(made, _):
    made.put(0, "Survey of the lake", "Date: 2021-05-06", "")


def comments_before_the_table(made, _):
    made.put(0, "# Logger 7", "# Date: 2021, May; 6", "#")


def stars_before_the_table(made, _):
    made.put(0, "* Logger 7", "* Date: 2021, May", "** end **")


def keys_and_values_before_the_table(made, _):
    made.put(0, *(made.separator.join(pair) for pair in (
        ("Station", "12"), ("Instrument", "CTD 55"), ("Latitude", "47.1"), ("Operator", "A. B."))))


def a_title_padded_with_separators(made, _):
    made.put(0, "Survey" + made.separator * 4, made.separator * 4)


def a_footer_after_a_blank_line(made, _):
    made.add("", "all rows")


def a_footer_padded_with_separators(made, _):
    made.add("Source: the office" + made.separator * 4)


def a_narrow_table_after_a_blank_line(made, _):
    made.add("", *(made.separator.join(pair) for pair in (("kind", "meaning"), *((str(i), f"state {i}") for i in range(6)))))


def a_narrow_table_right_after(made, _):
    made.add(*(made.separator.join(pair) for pair in (("kind", "meaning"), *((str(i), f"state {i}") for i in range(6)))))


def a_wide_table_right_after(made, _):
    made.add(made.separator.join(f"field{i}" for i in range(8)))
    made.add(*(made.separator.join(str(i * j) for i in range(8)) for j in range(6)))


def a_titled_table(made, _):
    made.add("", "Table 2: codes", "", made.separator.join(("kind", "meaning")))
    made.add(*(made.separator.join((str(i), f"state {i}")) for i in range(6)))


def a_statement_of_the_separator(made, _):
    made.put(0, "sep=" + made.separator)


def units_under_the_names(made, _):
    made.put(1, made.separator.join(["-", "-", "deg", "deg", "m"]))


def dashes_under_the_names(made, _):
    made.put(1, made.separator.join("-" * len(name) for name in made.names))


def separators_in_pairs(made, _):
    for item in made.items:
        item[0] = (made.separator * 2).join(
            made.quoted(text) for text in (made.names if item[1] is None else ["" if v is None else str(v) for v in item[1]]))


TROUBLES = (
    a_blank_line, lines_of_separators_alone, a_comment, a_line_of_nuls, one_field_too_many, the_last_cell_missing,
    a_stray_quote, an_opener_that_is_text, a_closer_that_is_text, doubled_quotes_and_the_separator,
    a_line_break_in_quotes, empty_lines_in_quotes, a_trailing_separator_in_one_row, trailing_separators_in_all_rows,
    no_line_end_at_the_end, control_z_at_the_end, a_row_cut_short, a_row_cut_inside_quotes, text_before_the_table,
    comments_before_the_table, stars_before_the_table, keys_and_values_before_the_table,
    a_title_padded_with_separators, a_footer_after_a_blank_line, a_footer_padded_with_separators,
    a_narrow_table_after_a_blank_line, a_narrow_table_right_after, a_wide_table_right_after, a_titled_table,
    a_statement_of_the_separator, units_under_the_names, dashes_under_the_names, separators_in_pairs)


def written(made, trouble, end, encoding):
    nasty = Nasty(trouble, made.names, end=end, encoding=encoding)
    for index, (text, row, is_bad) in enumerate(made.items):
        line_end = "" if index + 1 == len(made.items) and not made.has_end else end
        if row is None:
            nasty.line(text, line_end)
        else:
            nasty.row(text, row, is_bad=is_bad, end=line_end)
    if made.tail:
        nasty.change = lambda content, tail=made.tail: content + tail
    elif encoding == "utf-16-le":
        nasty.change = lambda content: b"\xff\xfe" + content
    return nasty


def all_files():
    draw = random.Random(17)
    for trouble in TROUBLES:
        for place in PLACES_IN_FILE:
            table = draw.choice([stations, remarks])
            separator = draw.choice([",", ";", "\t", "|"])
            made = table(draw.choice([5, 12, 30, 300]), separator)
            trouble(made, place)
            end = draw.choice(["\n", "\r\n", "\r"])
            encoding = draw.choice(["utf-8", "utf-8-sig", "utf-16-le"]) if not made.tail else "utf-8"
            name = trouble.__name__.replace("_", " ")
            yield written(made, f"{name} ({place}, {table.__name__}, {separator!r}, {end!r}, {encoding})", end, encoding)
