"""Makes polluted files: the troubles of the Pollock benchmark on tables of its own, with the truth of each.

The names of the files follow the benchmark (`row_less_sep_row10_col3.csv`), so that the scorer groups and
weighs them alike. Per table there are 2,290 files where the table has 84 lines and 9 columns. Nothing of the
benchmark's own tables is used: a reader that was fitted to them shows here.
"""

import pathlib
import random

import pollock

QUOTE = '"'


class Source:
    """A table with the way it is written: which columns are always quoted, and the line end."""

    def __init__(self, title, names, rows, quoted, line_end):
        self.title = title
        self.names = names
        self.rows = rows
        self.quoted = quoted
        self.line_end = line_end

    @property
    def lines(self):
        return [self.names, *self.rows]


def orders():
    """Orders of a shop: dates of the day first, codes, prices, texts with commas and quotes, an empty column."""
    draw = random.Random(11)
    things = ["Kettle", "Rain Coat", "Garden Hose, 12\" reel", "Lamp", "Child's Bike, 16\"", "Wool Socks",
              "Oak Shelf, Wide", "Men's Belt", "Rope 8 mm", "Tent, 2 Persons"]
    texts = ["Made to last, and easy to clean.", "Light, warm and dry in any weather; you'll not want another.",
             "A 5\" blade with a walnut grip, honed by hand.", "Fits all common taps.", "Folds flat, stores away."]
    rows = []
    for index in range(83):
        code = f"{draw.choice(['KT', 'GA', 'OU'])}-{draw.randrange(1000, 9999)}"
        rows.append([
            f"{1 + index % 28:02}/{1 + index // 28:02}/2019", f"{index * 15 // 60 % 24:02}:{index * 15 % 60:02}",
            str(draw.randrange(0, 12)), code, f"${draw.randrange(300, 9900) / 100:.2f}", draw.choice(things),
            draw.choice(texts), f"https://shop.example.org/{code.lower()}.html", ""])
    names = ["Day", "Hour", "Count", "Article", "Price", "Title", "Description", "Link", "Remarks"]
    return Source("orders", names, rows, {6, 7}, "\r\n")


def stations():
    """Stations with positions: numbers, gaps, letters past ASCII, few quotes."""
    draw = random.Random(12)
    places = ["Zürich", "Genève, Cornavin", "Bern", "Chur", "St. Gallen", "La Chaux-de-Fonds", "Brig (VS)"]
    rows = []
    for index in range(83):
        rows.append([
            f"CH{index:04}", draw.choice(places), f"{45.8 + draw.random() * 2:.5f}", f"{6 + draw.random() * 4:.5f}",
            draw.choice(["", f"{draw.randrange(200, 2500)}"]), f"2021-{1 + index % 12:02}-{1 + index % 28:02}",
            draw.choice(["yes", "no"]), draw.choice(["", "", "moved in 2003", "wind, rain and \"föhn\""]),
            f"{draw.randrange(1, 5)}.{draw.randrange(10)}"])
    names = ["id", "station", "latitude", "longitude", "height", "since", "active", "remark", "quality"]
    return Source("stations", names, rows, set(), "\n")


def members():
    """Members of a society: every cell quoted, texts only but for a year and an amount."""
    draw = random.Random(13)
    first = ["Ada", "Béla", "Carmen", "Dirk", "Eve", "Finn", "Gül", "Hugo"]
    last = ["O'Neill", "Novák", "van den Berg", "Smith", "Ødegård", "García y Vega", "Li"]
    towns = ["Graz", "Leeds", "Porto", "Łódź", "Malmö", "Aix, Provence"]
    rows = []
    for index in range(83):
        name = draw.choice(last)
        rows.append([
            str(1001 + index), name, draw.choice(first), draw.choice(towns), str(draw.randrange(1940, 2005)),
            f"{draw.randrange(10, 400)}.50", f"m{index}@example.net", draw.choice(["A", "B", "C"]),
            draw.choice(["paid; thanks", "called \"the Doc\"", "sends 3 copies, monthly", "-"])])
    names = ["number", "surname", "given name", "town", "born", "fee", "mail", "class", "note"]
    return Source("members", names, rows, set(range(9)), "\n")


def written(cells, quoted, separator=",", quote=QUOTE, escape=QUOTE):
    """One line without its end, and its fields. `escape` goes before each `"` of a quoted cell."""
    fields = []
    for index, cell in enumerate(cells):
        if index in quoted or "," in cell or QUOTE in cell:
            fields.append(quote + cell.replace(QUOTE, escape + QUOTE) + quote)
        else:
            fields.append(cell)
    return separator.join(fields), fields


def text_of(source, **how):
    return [written(line, source.quoted, **how)[0] for line in source.lines]


def file_pollutions(source):
    """(stem, bytes, expected table) of each pollution of a whole file."""
    end = source.line_end
    lines = text_of(source)
    whole = pollock.Table(source.names, source.rows)

    def made(stem, some_lines, expected=whole, line_end=end, last=None):
        return stem, (line_end.join(some_lines) + (line_end if last is None else last)).encode(), expected

    yield made("source", lines)
    yield "file_no_payload", b"", pollock.Table([], [])
    yield made("file_no_trailing_newline", lines, last="")
    yield made("file_double_trailing_newline", lines, last=end + end)
    yield made("file_no_header", lines[1:], pollock.Table([], source.rows))
    plain_names = written(source.names, set())[0]
    for count in (2, 3):
        names = [" ".join([name] * count) for name in source.names]
        yield made(f"file_header_multirow_{count}", [plain_names] * (count - 1) + lines,
                   pollock.Table(names, source.rows))
    empty = "," * (len(source.names) - 1)
    yield made("file_preamble", ["PREAMBLE" + empty, empty, *lines])
    for stem, change in (("same", lambda row, name: row), ("more", lambda row, name: [*row, name]),
                         ("less", lambda row, name: row[:-1])):
        further = [written(change(row, "col1" if row is source.names else ""), set())[0] for row in source.lines]
        yield made(f"file_multitable_{stem}", lines + further)
    yield made("file_header_only", lines[:1], pollock.Table(source.names, []))
    yield made("file_one_data_row", lines[:2], pollock.Table(source.names, source.rows[:1]))
    yield made("file_record_delimiter_0xD", lines, line_end="\r")
    yield made("file_record_delimiter_0xA", lines, line_end="\n")
    for code, separator in (("0x9", "\t"), ("0x3B", ";"), ("0x20", " "), ("0x2C_0x20", ", ")):
        yield made(f"file_field_delimiter_{code}", text_of(source, separator=separator))
    yield made("file_quotation_char_0x27", text_of(source, quote="'"))
    yield made("file_escape_char_0x5C", text_of(source, escape="\\"))
    yield made("file_escape_char_0x00", text_of(source, escape=""))


def row_pollutions(source):
    """(stem, bytes, expected table) of each pollution of one line; line 0 holds the names."""
    lines = text_of(source)
    whole = pollock.Table(source.names, source.rows)

    def made(stem, number, line, expected=whole):
        changed = lines[:number] + [line] + lines[number + 1:]
        return stem, (source.line_end.join(changed) + source.line_end).encode(), expected

    for number, cells in enumerate(source.lines):
        fields = written(cells, source.quoted)[1]
        for column in range(1, len(fields)):
            line = ",".join(fields[:column]) + ",".join(fields[column:])
            yield made(f"row_less_sep_row{number}_col{column}", number, line)
        for column in range(len(fields)):
            line = ",".join(fields[:column] + [""] + fields[column:])
            yield made(f"row_more_sep_row{number}_col{column}", number, line)
        yield made(f"row_field_delimiter_{number}_0x20", number, " ".join(fields))
        for column in range(len(fields)):
            line = ",".join(fields[:column] + [QUOTE + fields[column]] + fields[column + 1:])
            cell = [QUOTE + value if index == column else value for index, value in enumerate(cells)]
            rows = [cell if index + 1 == number else row for index, row in enumerate(source.rows)]
            yield made(f"row_extra_quote{number}_col{column}", number, line,
                       pollock.Table(source.names if number else cell, rows))


def collections_in(folder, step=1):
    """Writes every polluted file of each table, of pollutions of lines every `step`-th; yields (title, cases)."""
    for source in (orders(), stations(), members()):
        place = pathlib.Path(folder) / source.title
        place.mkdir()
        made = [(*item, 1) for item in file_pollutions(source)]
        made += [(*item, step) for item in list(row_pollutions(source))[::step]]
        cases = []
        for stem, content, expected, stands_for in made:
            path = place / f"{stem}.csv"
            path.write_bytes(content)
            cases.append(pollock.Case(path.name, path, expected, stands_for))
        yield f"{len(cases)} files of {source.title}", cases
