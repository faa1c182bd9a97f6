"""Makes nasty files: one or more for each kind of trouble that real delimited point files have, with the truth.

The truth of a file is how an import of it has to end, and, where it imports, every row as Python values:

    int, Decimal              a number, stored as a number
    str                       this text, to the letter
    None                      no value
    date, time, datetime      stored as such, or as the text of the file (`Dated`)
    Either(text)              the text, or the number that it spells

Rows know the line that they begin on. A row marked bad must be missing from the target and be listed with
that line; lines that are neither names nor rows (footers, further tables) must not become rows.
"""

import datetime
import gzip
import io
import struct
from decimal import Decimal

IMPORT, ASK, REFUSE = "import", "ask", "refuse"
PLACES = ["Aare", "Birs", "Doubs", "Emme", "Glatt", "Limmat", "Reuss", "Rhein", "Thur", "Töss"]


class Either:
    """A cell that may be stored as its text or as the number that it spells."""

    def __init__(self, text):
        self.text = text


class Dated:
    """A date, time or both, and how the file spells it."""

    def __init__(self, value, text):
        self.value = value
        self.text = text


class Row:
    def __init__(self, line, values, point, is_bad):
        self.line = line
        self.values = values
        self.point = point
        self.is_bad = is_bad


class Nasty:
    """One file: how it is named and spelled, and its truth."""

    def __init__(self, trouble, names=None, xy=(2, 3), end="\n", encoding="utf-8", file="data.csv", outcomes=(IMPORT,)):
        self.trouble = trouble
        self.names = names or []
        self.xy = xy
        self.end = end
        self.encoding = encoding
        self.file = file
        self.outcomes = outcomes
        self.rows = []
        self.parts = []
        self.change = None  # of the bytes, before they are written
        self.says = ()  # words of which one must be in what an asking or refusing program says
        self.physical = 1

    def line(self, text, end=None):
        """Adds a line that is no row."""
        end = self.end if end is None else end
        self.parts.append(text + end)
        self.physical += (text + end).count("\n") or (text + end).count("\r")
        return self

    def row(self, text, values, point="xy", is_bad=False, end=None):
        """Adds a row; its point is made of the columns `xy` unless it is given."""
        if point == "xy":
            point = None
            if self.xy and not is_bad and all(values[c] is not None for c in self.xy):
                point = tuple(float(values[c]) for c in self.xy)
        self.rows.append(Row(self.physical, values, point, is_bad))
        return self.line(text, end)

    @property
    def lines(self):
        """Physical lines; a last one without an end counts. None where the bytes are changed afterwards."""
        return None if self.change else len(list(io.StringIO("".join(self.parts), newline="")))

    @property
    def content(self):
        content = "".join(self.parts).encode(self.encoding, "surrogatepass")
        return self.change(content) if self.change else content


def cells(i):
    """Number, name, longitude and latitude of row i."""
    return [str(i + 1), PLACES[i % 9], f"{7.5 + i * 0.0137:.5f}", f"{46.9 + i * 0.0071:.5f}"]


def values(i):
    number, name, x, y = cells(i)
    return [int(number), name, Decimal(x), Decimal(y)]


NAMES = ["id", "name", "lon", "lat"]


def number(text):
    return Decimal(text) if text.strip() else None


def word(text):
    return text or None


def table(trouble, count=30, separator=",", names=NAMES, **how):
    """A sound table under a trouble's name, to which troubles are added."""
    nasty = Nasty(trouble, list(names), **how)
    nasty.line(separator.join(nasty.names))
    for i in range(count):
        nasty.row(separator.join(cells(i)), values(i))
    return nasty


def column(trouble, texts, read, name="v", separator=",", quote=lambda text: text, **how):
    """A table with one more column, and what each of its cells is."""
    nasty = Nasty(trouble, [*NAMES, name], **how)
    nasty.line(separator.join(nasty.names))
    for i, text in enumerate(texts):
        nasty.row(separator.join([*cells(i), quote(text)]), [*values(i), read(text)])
    return nasty


def mixed(usual, late, count=40, at=30):
    """`count` cells by a function of the row, some of them replaced from row `at` on."""
    texts = [usual(i) for i in range(count)]
    for i, text in enumerate(late):
        texts[at + i] = text
    return texts


def number_columns():
    whole = str
    yield column("decimals after whole numbers", mixed(whole, ["9.75", "-3.5"]), number)
    yield column("whole number without digits after the point, late", mixed(whole, ["12.", ".5"]), number)
    yield column("exponents", mixed(whole, ["1e3", "1.5E+03", "2e-7"]), number)
    yield column("late text in a column of numbers", mixed(whole, ["abc"]), str)
    yield column("a late number beyond 32 bits", mixed(whole, ["99999999999"]), number)
    yield column("a late number beyond 64 bits", mixed(whole, ["99999999999999999999"]), str)
    yield column("more digits than a double holds", mixed(lambda i: f"1.{i}", ["0.12345678901234567890"]), str)
    yield column("gaps in whole numbers", mixed(whole, ["", ""], at=3), number)
    yield column("gaps in decimals", [f"{i}.25" if i % 3 else "" for i in range(30)], number)
    yield column("a gap in the first row", ["", *map(str, range(20))], number)
    yield column("a column of gaps", [""] * 20, number)
    yield column("one value in a column of gaps", mixed(lambda i: "", ["7"]), number)
    yield column("leading zeros", mixed(lambda i: f"{10000 + i}", ["01234"]), str)
    yield column("leading zeros in all cells", [f"{i:05}" for i in range(30)], str)
    yield column("times such as 0800", ["0800", "0930", "1015", "1200"] * 5, str)
    yield column("house numbers", mixed(whole, ["12a", "7 bis"]), str)
    yield column("looks like 0 and 1 at first", mixed(lambda i: str(i % 2), ["2", "3"]), number)
    yield column("0 and 1 are numbers", [str(i % 2) for i in range(30)], number)
    yield column("a Unicode minus", mixed(whole, ["\u22126.5"]), lambda t: number(t.replace("\u2212", "-")))
    yield column("plus signs", ["+4", "-4", "0"] * 7, number)
    yield column("decimals with minus zero", ["-0.5", "0.0", "1.0"] * 7, number)
    yield column("mixed units in a column", mixed(whole, ["13 ft"]), str)
    yield column("less than the limit of detection", ["0.12", "<0.05", "0.31"] * 7, str)
    yield column("hexadecimal", ["0x1F", "0x20"] * 10, str)
    yield column("per cent", ["50 %", "12 %"] * 10, str)
    yield column("money", ["$12.50", "$7.00"] * 10, str)
    yield column("footnotes after numbers", ["11800", "99354[1]"] * 10, str)
    yield column("ids beyond what a double holds", [str(9007199254740993 + i) for i in range(30)], number)
    yield column("20 digits in all cells", [f"{10**19 + i}" for i in range(30)], str)
    yield column("infinity among numbers", mixed(whole, ["inf"]), Either)
    yield column("a number that no double holds", mixed(lambda i: f"{i}.5", ["1e400"]), str)
    yield column("numbers padded with blanks", [f" {i:3}" for i in range(30)], number)
    yield column("-9999 among heights", mixed(lambda i: f"{400 + i}", ["-9999", "-9999"]), number)
    yield column("1e30 among heights", mixed(lambda i: f"{400 + i}.5", ["1e30"]), number)


def null_words():
    for text in ("NA", "N/A", "null", "\\N", "nan", "-", "--", "NaN", "NULL"):
        yield column(f"{text} among numbers", mixed(lambda i: f"{i}.5", [text, text], at=4),
                     lambda t, null=text: None if t == null else number(t))
    yield column("N/A among texts is a text", ["red", "N/A", "blue"] * 8, str)
    yield column("only N/A", ["N/A"] * 20, str)
    yield column("NA and a text among numbers", mixed(str, ["NA", "abc"]), str)
    yield column("a name that reads null", ["Null", "Smith", "Nan"] * 8, str)


def word_columns():
    for yes, no in (("true", "false"), ("TRUE", "FALSE"), ("yes", "no"), ("Yes", "No"), ("y", "n"), ("t", "f")):
        texts = [yes if i % 3 else no for i in range(30)]
        yield column(f"{yes} and {no}", texts, lambda t, yes=yes: t == yes)
    yield column("true and false with gaps", ["true", "", "false"] * 8, lambda t: None if not t else t == "true")
    yield column("true, false and a late word", mixed(lambda i: ("true", "false")[i % 2], ["maybe"]), str)
    yield column("only N", ["N"] * 20, str)
    yield column("names that begin with T and F", ["Tom", "Frank"] * 12, str)
    yield column("blanks around texts", [" a", "b ", " c "] * 8, str)
    yield column("cells of one blank", ["x", " ", "y"] * 8, lambda t: t)
    yield column("typographic and past the basic plane", ["“a”", "naïve", "日本", "𐍈😀"] * 6, str)
    yield column("quoted numbers", [str(i) for i in range(30)], number, quote=lambda t: f'"{t}"')
    yield column("quoted decimals with gaps", mixed(lambda i: f"{i}.5", ["", ""]), number, quote=lambda t: f'"{t}"')


def date_columns():
    days = [datetime.date(2018, 1 + i % 12, 1 + i % 28) for i in range(30)]

    def dated(trouble, spell, name="v", values_of=lambda day: day):
        nasty = Nasty(trouble, [*NAMES, name])
        nasty.line(",".join(nasty.names))
        for i, day in enumerate(days):
            nasty.row(",".join([*cells(i), spell(day)]), [*values(i), Dated(values_of(day), spell(day))])
        return nasty

    yield dated("ISO dates", lambda d: d.isoformat())
    yield dated("dates with slashes, year first", lambda d: d.strftime("%Y/%m/%d"))
    yield dated("dates, day first beyond doubt", lambda d: d.strftime("%d/%m/%Y"))
    yield dated("dates, month first beyond doubt", lambda d: d.strftime("%m/%d/%Y"))
    yield dated("dates with points", lambda d: d.strftime("%d.%m.%Y"))
    yield dated("dates with the month's name", lambda d: f"{d.day} {d.strftime('%b')} {d.year}")
    yield dated("dates without signs", lambda d: d.strftime("%Y%m%d"), name="date")
    at_noon = lambda d: datetime.datetime(d.year, d.month, d.day, 12, 30, d.day)
    yield dated("dates and times", lambda d: at_noon(d).strftime("%Y-%m-%dT%H:%M:%SZ"), values_of=at_noon)
    yield dated("times with milliseconds", lambda d: f"13:03:{d.day:02}.836",
                values_of=lambda d: datetime.time(13, 3, d.day, 836000))
    yield column("dates that may be either", ["03/04/2018", "05/06/2018"] * 10, str)
    yield column("years of two digits", ["03/04/18", "25/06/18"] * 10, str)
    yield column("dates and a late word", mixed(lambda i: days[i % 30].isoformat(), ["unknown"]), str)
    yield column("a date that no calendar has", mixed(lambda i: days[i % 30].isoformat(), ["2018-02-30"]), str)
    nasty = Nasty("dates with gaps", [*NAMES, "day"])
    nasty.line(",".join(nasty.names))
    for i, day in enumerate(days):
        text = day.isoformat() if i % 4 else ""
        nasty.row(",".join([*cells(i), text]), [*values(i), Dated(day, text) if text else None])
    yield nasty


def decimal_signs():
    def comma(text):
        return text.replace(".", ",")

    def european(trouble, separator=";", quote=lambda text: text, texts=None, read=None, **how):
        nasty = Nasty(trouble, [*NAMES, "depth"], **how)
        nasty.line(separator.join(nasty.names))
        for i in range(30):
            text = texts(i) if texts else f"{i},{i % 10}5"
            row = [cells(i)[0], cells(i)[1], quote(comma(cells(i)[2])), quote(comma(cells(i)[3])), quote(text)]
            nasty.row(separator.join(row), [*values(i), read(text) if read else number(text.replace(",", "."))])
        return nasty

    yield european("decimal commas, plain")
    yield european("decimal commas, quoted", ",", lambda text: f'"{text}"')
    yield european("decimal commas and tabs", "\t", file="data.txt")
    yield european("decimal commas with gaps", texts=lambda i: f"{i},5" if i % 3 else "",
                   read=lambda t: number(t.replace(",", ".")))
    yield column("thousands apostrophes", ["2'600'123.45", "1'204.5", "12.5"] * 8,
                 lambda t: number(t.replace("'", "")))
    yield column("thousands commas, quoted", ["1,234,567", "7,197.5", "12"] * 8,
                 lambda t: number(t.replace(",", "")), quote=lambda t: f'"{t}"')
    yield column("thousands blanks", ["1 234 567", "12 500", "7 000"] * 8, lambda t: number(t.replace(" ", "")))
    yield column("only 1,234: thousands or decimals", ["1,234", "7,197"] * 10, str, quote=lambda t: f'"{t}"')
    yield column("groups that are none", ["1,2,4", "12,3"] * 10, str, quote=lambda t: f'"{t}"')


def encodings():
    def letters(trouble, encoding, mark=b"", names=NAMES, **how):
        nasty = Nasty(trouble, list(names), encoding=encoding, **how)
        nasty.line(",".join(nasty.names))
        for i in range(30):
            name = ["Zürich", "Genève", "Rhône", "Añasco", "Malmö", "Bârlad"][i % 6] if encoding[:2] != "cp" else \
                ["Zürich – Süd", "Genève", "Rhône", "Größe € 5", "Malmö", "‘Bär’"][i % 6]
            nasty.row(",".join([cells(i)[0], name, *cells(i)[2:]]), [i + 1, name, *values(i)[2:]])
        nasty.change = lambda content: mark + content
        return nasty

    yield letters("UTF-8 without a mark", "utf-8")
    yield letters("a byte order mark", "utf-8", b"\xef\xbb\xbf")
    yield letters("ISO-8859-1", "latin-1")
    yield letters("cp1252", "cp1252")
    yield letters("UTF-16LE with a mark", "utf-16-le", b"\xff\xfe")
    yield letters("UTF-16BE with a mark", "utf-16-be", b"\xfe\xff")
    yield letters("UTF-16LE without a mark", "utf-16-le")
    yield letters("UTF-16BE without a mark", "utf-16-be")
    yield letters("UTF-32LE with a mark", "utf-32-le", b"\xff\xfe\0\0")
    yield letters("UTF-16LE with CRLF", "utf-16-le", b"\xff\xfe", end="\r\n")
    for trouble, every, outcomes in (
            ("one byte that is no UTF-8 among many letters", 2, (IMPORT,)),
            ("one byte that is no UTF-8 beside few letters", 100, (ASK,))):
        nasty = Nasty(trouble, NAMES, outcomes=outcomes).line(",".join(NAMES))
        for i in range(400):
            name = ["Zürich", "Łódź", "日本"][i % 3] if i % every == 0 else values(i)[1]
            if i == 201:
                nasty.row(",".join([cells(i)[0], "Z\udcfcrich", *cells(i)[2:]]), [], is_bad=True)
            else:
                nasty.row(",".join([cells(i)[0], name, *cells(i)[2:]]), [i + 1, name, *values(i)[2:]])
        content = "".join(nasty.parts).encode("utf-8", "surrogateescape")
        nasty.change = lambda _, content=content: content
        nasty.says = ("--encoding",)
        yield nasty


def bytes_and_lines():
    nasty = table("a block of NUL bytes at the end")
    nasty.change = lambda content: content + b"\0" * 512
    yield nasty
    nasty = table("a block of NUL bytes in the middle", 60)
    nasty.parts.insert(31, "\0" * 100 + "\n")
    for row in nasty.rows[30:]:
        row.line += 1
    yield nasty
    nasty = column("a NUL byte in a cell", mixed(lambda i: f"t{i}", ["a\0b"]), str)
    yield nasty
    nasty = table("gzip under its name", file="data.csv.gz")
    nasty.change = lambda content: gzip.compress(content, mtime=0)
    yield nasty
    nasty = table("gzip under another name", file="data.txt")
    nasty.change = lambda content: gzip.compress(content, mtime=0)
    yield nasty
    nasty = table("gzip that is cut short", 2000)
    nasty.change = lambda content: gzip.compress(content, mtime=0)[:-200]
    nasty.outcomes, nasty.says = (REFUSE,), ("gzip", "compress", "cut", "end")
    yield nasty
    for sign in ";", "|", "\t", "~", "\x1f", ":", "^":
        yield table(f"separator {sign!r}", separator=sign)
    yield table("a blank after each comma", separator=", ", names=NAMES)
    nasty = Nasty("a line that states the separator", NAMES).line("sep=;").line(";".join(NAMES))
    for i in range(20):
        nasty.row(";".join(cells(i)), values(i))
    yield nasty
    nasty = table("Ctrl-Z at the end")
    nasty.change = lambda content: content + b"\x1a"
    yield nasty
    yield table("lines that end in CR", end="\r")
    yield table("lines that end in CRLF", end="\r\n")
    nasty = table("lone LF among CRLF", 0, end="\r\n")
    for i in range(30):
        nasty.row(",".join(cells(i)), values(i), end="\n" if i % 7 == 3 else "\r\n")
    yield nasty
    nasty = table("no line end after the last row")
    nasty.parts[-1] = nasty.parts[-1].rstrip("\n")
    yield nasty
    nasty = table("blank lines within", 0)
    for i in range(30):
        nasty.row(",".join(cells(i)), values(i))
        if i % 5 == 2:
            nasty.line("")
    yield nasty
    nasty = table("lines of separators alone", 0)
    for i in range(30):
        nasty.row(",".join(cells(i)), values(i))
        if i % 10 == 2:
            nasty.line(",,,")
    yield nasty
    nasty = table("two line ends after the last row").line("")
    yield nasty
    nasty = table("a last line cut short", outcomes=(IMPORT, ASK))
    nasty.row("31,Aa", [31, "Aa", None, None], is_bad=True, end="")
    yield nasty
    nasty = table("a last line cut within a number", outcomes=(IMPORT, ASK))
    nasty.row("31,Aare,7.9", [31, "Aare", None, None], is_bad=True, end="")
    yield nasty
    for trouble, content, words in (
            ("no bytes at all", b"", ("empty",)), ("only line ends", b"\n\n\r\n\n", ("empty", "no row", "blank")),
            ("a picture", b"\x89PNG\r\n\x1a\n" + bytes(range(256)) * 40, ("binary", "PNG", "text")),
            ("a zip archive", b"PK\x03\x04" + struct.pack("<HHH", 20, 0, 8) + bytes(range(256)) * 20, ("zip", "compress"))):
        nasty = Nasty(trouble, outcomes=(REFUSE, ASK))
        nasty.change = lambda _, content=content: content
        nasty.says = words
        yield nasty


def heads_and_tails():
    nasty = Nasty("no line of names", [""] * 4)
    for i in range(30):
        x, y = f"{107.5 + i * 0.0137:.5f}", cells(i)[3]
        nasty.row(",".join([*cells(i)[:2], x, y]), [*values(i)[:2], Decimal(x), Decimal(y)])
    yield nasty
    nasty = Nasty("preamble of other counts", NAMES).line("Survey of 2021").line("made by: hand, and eye").line("")
    nasty.line(",".join(NAMES))
    for i in range(30):
        nasty.row(",".join(cells(i)), values(i))
    yield nasty
    nasty = Nasty("preamble padded with separators", NAMES).line("Survey of 2021,,,").line(",,,").line(",".join(NAMES))
    for i in range(30):
        nasty.row(",".join(cells(i)), values(i))
    yield nasty
    for mark in "#", "%", "//", "!":
        nasty = Nasty(f"comment lines of {mark}", NAMES).line(f"{mark} made by hand").line(f"{mark} all of 2021")
        nasty.line(",".join(NAMES))
        for i in range(30):
            nasty.row(",".join(cells(i)), values(i))
        yield nasty
    nasty = Nasty("names in the last comment line", NAMES).line("# made by hand").line("# " + " ".join(NAMES))
    for i in range(30):
        nasty.row(" ".join(cells(i)), values(i))
    yield nasty
    nasty = Nasty("colours with # in the first column", ["colour", "name", "lon", "lat"])
    nasty.line(",".join(nasty.names))
    for i in range(30):
        nasty.row(",".join([f"#FF00{i:02}", *cells(i)[1:]]), [f"#FF00{i:02}", *values(i)[1:]])
    yield nasty
    nasty = Nasty("units under the names", [*NAMES, "depth"]).line("id,name,lon,lat,depth").line("-,-,deg,deg,m")
    for i in range(30):
        nasty.row(",".join([*cells(i), f"{i}.5"]), [*values(i), Decimal(f"{i}.5")])
    yield nasty
    nasty = Nasty("units in brackets under the names", [*NAMES, "depth"])
    nasty.line("id,name,lon,lat,depth").line(",,(°E),(°N),[m]")
    for i in range(30):
        nasty.row(",".join([*cells(i), f"{i}.5"]), [*values(i), Decimal(f"{i}.5")])
    yield nasty
    nasty = Nasty("dashes under the names", NAMES).line(",".join(NAMES)).line("--,----,---,---")
    for i in range(30):
        nasty.row(",".join(cells(i)), values(i))
    yield nasty
    nasty = Nasty("two lines of names", ["", "", "", ""]).line("station,station,position,position").line("id,name,lon,lat")
    for i in range(30):
        nasty.row(",".join(cells(i)), values(i))
    yield nasty
    nasty = Nasty("a header one cell short: row names", ["", *NAMES[1:]], outcomes=(IMPORT, ASK)).line("name,lon,lat")
    for i in range(30):
        nasty.row(",".join([f"s{i}", *cells(i)[1:]]), [f"s{i}", *values(i)[1:]])
    yield nasty
    nasty = Nasty("a header one cell long", NAMES, outcomes=(IMPORT, ASK)).line("id,name,lon,lat,note")
    for i in range(30):
        nasty.row(",".join(cells(i)), values(i))
    yield nasty
    nasty = Nasty("trailing separators in the rows only", NAMES).line(",".join(NAMES))
    for i in range(30):
        nasty.row(",".join(cells(i)) + ",", values(i))
    yield nasty
    nasty = Nasty("a trailing separator in the header only", NAMES).line(",".join(NAMES) + ",")
    for i in range(30):
        nasty.row(",".join(cells(i)), values(i))
    yield nasty
    nasty = Nasty("trailing separators everywhere", NAMES).line(",".join(NAMES) + ",")
    for i in range(30):
        nasty.row(",".join(cells(i)) + ",", values(i))
    yield nasty
    nasty = Nasty("duplicate names", ["id", "name", "lon", "lat", "v", "v"]).line("id,name,lon,lat,v,v")
    for i in range(30):
        nasty.row(",".join([*cells(i), str(i), f"{i}.5"]), [*values(i), i, Decimal(f"{i}.5")])
    yield nasty
    nasty = Nasty("names that differ in case only", ["id", "name", "lon", "lat", "v", "V"]).line("id,name,lon,lat,v,V")
    for i in range(30):
        nasty.row(",".join([*cells(i), str(i), f"{i}.5"]), [*values(i), i, Decimal(f"{i}.5")])
    yield nasty
    nasty = Nasty("empty names", ["", "name", "lon", "lat", ""]).line(",name,lon,lat,")
    for i in range(30):
        nasty.row(",".join([*cells(i), f"x{i}"]), [*values(i), f"x{i}"])
    yield nasty
    nasty = Nasty("names that targets use themselves", ["fid", "geom", "lon", "lat", "ogc_fid"])
    nasty.line("fid,geom,lon,lat,ogc_fid")
    for i in range(30):
        nasty.row(",".join([f"k{i % 4}", *cells(i)[1:], "z"]), [f"k{i % 4}", *values(i)[1:], "z"])
    yield nasty
    nasty = Nasty("a line break in a name", ["id", "na\nme", "lon", "lat"]).line('id,"na\nme",lon,lat')
    for i in range(30):
        nasty.row(",".join(cells(i)), values(i))
    yield nasty
    nasty = Nasty("the names twice at the begin", NAMES).line(",".join(NAMES)).line(",".join(NAMES))
    for i in range(30):
        nasty.row(",".join(cells(i)), values(i))
    yield nasty
    nasty = table("the names again half way", 15)
    nasty.line(",".join(NAMES))
    for i in range(15, 30):
        nasty.row(",".join(cells(i)), values(i))
    yield nasty
    nasty = Nasty("names and units again half way", NAMES).line(",".join(NAMES)).line("-,-,deg,deg")
    for i in range(30):
        if i == 15:
            nasty.line(",".join(NAMES)).line("-,-,deg,deg")
        nasty.row(",".join(cells(i)), values(i))
    yield nasty
    nasty = Nasty("names in a comment and a blank line after it", NAMES, file="data.txt").line("# " + " ".join(NAMES)).line("")
    for i in range(30):
        nasty.row(" ".join(cells(i)), values(i))
    yield nasty
    nasty = table("the names again in another order", 15)
    nasty.line("name,id,lat,lon")
    for i in range(15, 30):
        number_, name, x, y = cells(i)
        nasty.row(",".join([name, number_, y, x]), values(i))
    yield nasty
    nasty = table("a footer").line("").line("30 stations in all")
    yield nasty
    nasty = table("a footer padded with separators").line("Source: the archive,,,")
    yield nasty
    nasty = Nasty("a total of full width is a row", [*NAMES, "v"]).line("id,name,lon,lat,v")
    for i in range(20):
        nasty.row(",".join([*cells(i), str(i)]), [*values(i), i])
    nasty.row(",Total,,,190", [None, "Total", None, None, 190])
    yield nasty
    nasty = table("a further table of another width").line("").line("code,meaning")
    for code in range(5):
        nasty.line(f"{code},state {code}")
    yield nasty
    nasty = table("a further table of the same width").line("").line("code,meaning,since,until")
    for code in range(12):
        nasty.line(f"C{code},state {code},19{50 + code},19{70 + code}")
    yield nasty
    nasty = table("one row", 1)
    yield nasty
    nasty = table("names alone", 0, outcomes=(REFUSE, ASK))
    nasty.says = ("no row", "no point", "row")
    yield nasty


def ragged_and_quoted():
    nasty = table("one field too many", 300)
    nasty.row("301,Aare,left,7.5,46.9", [], is_bad=True)
    for i in range(301, 400):
        nasty.row(",".join(cells(i)), values(i))
    yield nasty
    nasty = Nasty("one field missing at the end", [*NAMES, "note"]).line("id,name,lon,lat,note")
    for i in range(30):
        text = "" if i == 20 else f",n{i}"
        nasty.row(",".join(cells(i)) + text, [*values(i), None if i == 20 else f"n{i}"])
    yield nasty
    nasty = table("one field missing in the middle", 300)
    nasty.row("301,11.6165,49.0371", [], is_bad=True)
    for i in range(301, 400):
        nasty.row(",".join(cells(i)), values(i))
    yield nasty
    yield column("a quote within a field", mixed(lambda i: f"t{i}", ['5" pipe', 'the "old" one']), str)
    nasty = column("a quote that opens a field and never closes", [f"t{i}" for i in range(300)], str)
    nasty.rows[150].values[1] = '"Aare'
    nasty.parts[151] = ",".join([cells(150)[0], '"Aare', *cells(150)[2:], "t150"]) + "\n"
    yield nasty
    nasty = column("a quote that closes before its field ends", [f"t{i}" for i in range(300)], str)
    nasty.rows[150].values[4] = '"Round 48" x'
    nasty.parts[151] = ",".join([*cells(150), '"Round 48" x']) + "\n"
    yield nasty
    yield column("doubled quotes", ['say "yes"', '"', '""', 'a,"b",c'] * 6, str,
                 quote=lambda t: '"' + t.replace('"', '""') + '"')
    yield column("backslashed quotes", ['say "yes", ok', 'plain', 'a "b" c'] * 8, str,
                 quote=lambda t: '"' + t.replace('"', '\\"') + '"')
    yield column("backslashes that are text", ["C:\\data\\", "a\\b", "\\"] * 8, str, quote=lambda t: f'"{t}"')
    yield column("single quotes that quote", ["a, b", "c", "d, e"] * 8, str, quote=lambda t: f"'{t}'")
    yield column("apostrophes", ["Men's", "'t Hof", "O'Neill", "the boys'"] * 6, str)
    yield column("separators in quotes", ["a,b", "c", "d,e,f"] * 8, str, quote=lambda t: f'"{t}"')
    yield column("empty quotes", ["", "x"] * 12, word, quote=lambda t: f'"{t}"')
    yield column("line breaks in quotes", ["a\nb", "c", "d\n\ne"] * 8, str, quote=lambda t: f'"{t}"')
    nasty = column("line breaks in quotes among CRLF", ["a\nb", "c", "d\r\ne"] * 8, str,
                   quote=lambda t: f'"{t}"', end="\r\n")
    yield nasty
    yield column("a cell of 200,000 characters", mixed(lambda i: "x", ["y" * 200_000]), str)
    yield column("one quoted field in the whole file, late", mixed(lambda i: f"t{i}", ['"a,b"']),
                 lambda t: "a,b" if '"' in t else t)
    nasty = Nasty("300 columns", [*NAMES, *(f"c{k}" for k in range(296))])
    nasty.line(",".join(nasty.names))
    for i in range(20):
        more = [str(i * k) if k % 3 else (f"{k}.5" if i % 2 else "") for k in range(296)]
        nasty.row(",".join([*cells(i), *more]), [*values(i), *map(number, more)])
    yield nasty


def aligned():
    nasty = Nasty("runs of blanks in aligned columns", NAMES, file="data.txt").line("  id name        lon       lat")
    for i in range(30):
        number_, name, x, y = cells(i)
        nasty.row(f"{number_:>4} {name:<8} {x:>8}  {y:>8}", values(i))
    yield nasty
    nasty = Nasty("fixed widths with blanks in texts", NAMES, file="data.txt")
    nasty.line(f"{'id':<5}{'name':<14}{'lon':>10}{'lat':>10}").line(f"{'-' * 4} {'-' * 13} {'-' * 9} {'-' * 9}")
    for i in range(30):
        number_, name, x, y = cells(i)
        name = ["Bad Ragaz", "La Punt", "Ins", ""][i % 4]
        nasty.row(f"{number_:<5}{name:<14}{x:>10}{y:>10}", [i + 1, name or None, *values(i)[2:]])
    yield nasty
    nasty = Nasty("a blank before each line", [""] * 4, file="data.txt")
    for i in range(30):
        x, y = f"{107.5 + i * 0.0137:.5f}", cells(i)[3]
        nasty.row(" " + " ".join([*cells(i)[:2], x, y]), [*values(i)[:2], Decimal(x), Decimal(y)])
    yield nasty
    nasty = Nasty("few rows of blanks under much text", ["nr", "lon", "lat", "depth"], xy=(1, 2), file="data.txt")
    for text in ("Port:              P034", "Site:              Dover", "Start Date:        01JAN2019-00.00.00",
                 "Contributor:       Lab", "Datum information: refers to chart datum", "Code:              ASLV = level"):
        nasty.line(text)
    nasty.line("  nr       lon       lat   depth")
    for i in range(4):
        number_, _, x, y = cells(i)
        nasty.row(f"{number_:>4} {x:>9} {y:>9} {i + 3.5:>7}", [i + 1, *values(i)[2:], Decimal(str(i + 3.5))])
    yield nasty
    nasty = Nasty("a mark before the names", ["nr", "lon", "lat", "gr"], xy=(1, 2), file="log.las")
    nasty.line("~Version").line(" VERS.   2.0: ASCII").line(" WRAP.   NO:").line("~Curve").line(" GR.API :")
    nasty.line("~A  nr       lon       lat      gr")
    for i in range(30):
        number_, _, x, y = cells(i)
        nasty.row(f"{number_:>6} {x:>9} {y:>9} {i + 3.5:>7}", [i + 1, *values(i)[2:], Decimal(str(i + 3.5))])
    yield nasty
    nasty = Nasty("drawn lines between names and rows", NAMES, file="data.txt", xy=(2, 3))
    nasty.line(" id |  name   |   lon   |   lat").line("----+---------+---------+---------")
    for i in range(30):
        number_, name, x, y = cells(i)
        nasty.row(f" {number_:>2} | {name:<7} | {x} | {y}", [i + 1, f"{name:<8}", *values(i)[2:]])
    nasty.line("(30 rows)").line("")
    yield nasty
    nasty = Nasty("tabs and blanks mixed", NAMES, file="data.txt").line("id name \t lon\tlat")
    for i in range(30):
        nasty.row("\t ".join(cells(i)) if i % 2 else "  ".join(cells(i)), values(i))
    yield nasty


def positions():
    def spelled(trouble, names, spell, xy=None, count=24, separator=",", tail=lambda i: ("v", Decimal(i)), **how):
        """Rows whose points are the base points, spelled by a function of (x, y) in degrees."""
        nasty = Nasty(trouble, ["id", *names, "n"], xy=xy, **how)
        nasty.line(separator.join(nasty.names))
        for i in range(count):
            x, y = float(7 + i / 16 + 0.5 / 60), float(46 + i / 32 + 0.25 / 60)
            texts, spoken = spell(x, y)
            nasty.row(separator.join([str(i + 1), *texts, str(i)]),
                      [i + 1, *(Either(text) for text in texts), i], point=spoken)
        return nasty

    def parts(value):
        """Degrees, minutes and whole seconds, and the degrees that they stand for."""
        seconds = round(abs(value) * 3600)
        degrees, minutes, seconds = seconds // 3600, seconds // 60 % 60, seconds % 60
        return degrees, minutes, seconds, degrees + minutes / 60 + seconds / 3600

    def sexagesimal(form, letters=("E", "N")):
        def spell(x, y):
            texts, spoken = [], []
            for value, letter in ((y, letters[1]), (x, letters[0])):
                degrees, minutes, seconds, exact = parts(value)
                texts.append(form(degrees, minutes, seconds, letter))
                spoken.append(-exact if letter in "SW" else exact)
            return texts, (spoken[1], spoken[0])
        return spell

    yield spelled("degrees, minutes, seconds with signs", ["lat", "lon"],
                  sexagesimal(lambda d, m, s, h: f"{d}°{m:02}'{s:02}''{h}"))
    yield spelled("degrees, minutes, seconds with typographic signs", ["lat", "lon"],
                  sexagesimal(lambda d, m, s, h: f"{d}º {m:02}′ {s:02}″ {h}"))
    yield spelled("letters before the degrees", ["lat", "lon"], sexagesimal(lambda d, m, s, h: f"{h}{d}-{m:02}-{s:02}"))
    yield spelled("degrees with d, m, s", ["lat", "lon"], sexagesimal(lambda d, m, s, h: f"{d}d{m:02}m{s:02}s{h}"))
    yield spelled("degrees with colons", ["lat", "lon"], sexagesimal(lambda d, m, s, h: f"{d}:{m:02}:{s:02}"))
    yield spelled("degrees with blanks", ["lat", "lon"], sexagesimal(lambda d, m, s, h: f"{d} {m:02} {s:02} {h}"))
    yield spelled("letters of the south and west", ["lat", "lon"],
                  sexagesimal(lambda d, m, s, h: f"{d}°{m:02}'{s:02}''{h}", ("W", "S")))

    def with_letters(x, y):
        return [f"{y:.6f}N", f"{x:.6f}E"], (float(f"{x:.6f}"), float(f"{y:.6f}"))
    yield spelled("letters after decimal degrees", ["lat", "lon"], with_letters)

    def columns_of_letters(x, y):
        return [f"{y:.6f}", "S", f"{x:.6f}", "W"], (-float(f"{x:.6f}"), -float(f"{y:.6f}"))
    yield spelled("letters in columns of their own", ["lat", "N/S", "lon", "E/W"], columns_of_letters)

    def columns_of_parts(x, y):
        d1, m1, s1, exact_y = parts(y)
        d2, m2, s2, exact_x = parts(x)
        return [str(d1), str(m1), str(s1), str(d2), str(m2), str(s2)], (exact_x, exact_y)
    yield spelled("degrees in one column and minutes in the next",
                  ["lat_deg", "lat_min", "lat_sec", "lon_deg", "lon_min", "lon_sec"], columns_of_parts)

    def packed(x, y):
        texts, spoken = [], []
        for value, form in ((y, "{:02d}{:07.4f}"), (x, "{:03d}{:07.4f}")):
            degrees, minutes = int(value), round(value % 1 * 60, 4)
            texts.append(form.format(degrees, minutes))
            spoken.append(degrees + minutes / 60)
        return [texts[0], "N", texts[1], "E"], (spoken[1], spoken[0])
    yield spelled("packed degrees and minutes", ["latitude", "ns", "longitude", "ew"], packed, count=60)

    nasty = table("minutes beyond 60 in one cell", 0, names=["id", "name", "lon", "lat"], xy=None)
    for i in range(30):
        text = f"46°{75 if i == 20 else i + 1:02}'N"
        point = None if i == 20 else (7.5, 46 + (i + 1) / 60)
        nasty.row(f"{i + 1},{PLACES[i % 9]},7°30'E,{text}", [i + 1, PLACES[i % 9], "7°30'E", text], point=point)
    nasty.outcomes = (IMPORT, ASK)
    yield nasty

    nasty = Nasty("latitude before longitude", ["id", "lat", "lon"], xy=(2, 1)).line("id,lat,lon")
    for i in range(30):
        nasty.row(",".join([cells(i)[0], cells(i)[3], cells(i)[2]]), [i + 1, values(i)[3], values(i)[2]])
    yield nasty
    nasty = Nasty("names with blanks around", [" id ", " lon ", " lat "], xy=(1, 2)).line(" id , lon , lat ")
    for i in range(30):
        nasty.row(",".join([cells(i)[0], *cells(i)[2:]]), [i + 1, *values(i)[2:]])
    yield nasty
    # Pointed out, never repaired: no row has a point.
    nasty = Nasty("swapped axes: latitudes beyond 90", ["id", "lat", "lon"], xy=(2, 1), outcomes=(ASK,))
    nasty.line("id,lat,lon")
    for i in range(30):
        nasty.row(f"{i + 1},{100 + i}.25,{40 + i % 9}.5", [i + 1, Decimal(f"{100 + i}.25"), Decimal(f"{40 + i % 9}.5")])
    nasty.says = ("--x",)
    yield nasty
    nasty = table("points at (0, 0)", 30)
    nasty.row("31,Null,0,0", [31, "Null", Decimal(0), Decimal(0)])
    yield nasty
    nasty = table("points at -9999", 30)
    nasty.row("31,Lost,-9999,-9999", [31, "Lost", Decimal(-9999), Decimal(-9999)], point=None)
    yield nasty
    nasty = table("rows without coordinates", 30)
    nasty.row("31,Lost,,", [31, "Lost", None, None])
    nasty.row("32,Lost,7.5,", [32, "Lost", Decimal("7.5"), None])
    yield nasty
    nasty = table("NaN among coordinates", 30)
    nasty.row("31,Lost,NaN,NaN", [31, "Lost", None, None])
    yield nasty
    nasty = table("a word among coordinates", 30)
    for row in nasty.rows:
        row.values[2] = Either(str(row.values[2]))
    nasty.row("31,Lost,unknown,46.5", [31, "Lost", Either("unknown"), Decimal("46.5")], point=None)
    nasty.outcomes = (IMPORT, ASK)
    yield nasty
    for trouble, names in (("metres without a system", ["id", "easting", "northing"]), ("x and y in metres", ["id", "x", "y"])):
        nasty = Nasty(trouble, names, xy=(1, 2)).line(",".join(names))
        for i in range(30):
            x, y = f"{600123.5 + i * 7:.2f}", f"{5200456.25 + i * 11:.2f}"
            nasty.row(f"{i + 1},{x},{y}", [i + 1, Decimal(x), Decimal(y)])
        yield nasty
    nasty = Nasty("two UTM zones", ["id", "zone", "easting", "northing"]).line("id,zone,easting,northing")
    for i in range(30):
        zone, x, y = "32T" if i < 15 else "33T", f"{600123.5 + i * 7:.2f}", f"{5200456.25 + i * 11:.2f}"
        nasty.row(f"{i + 1},{zone},{x},{y}", [i + 1, zone, Decimal(x), Decimal(y)])
    yield nasty
    nasty = Nasty("heights with gaps", ["id", "lon", "lat", "height"], xy=(1, 2)).line("id,lon,lat,height")
    for i in range(30):
        z = f"{400 + i}.5" if i % 4 else ""
        nasty.row(",".join([cells(i)[0], *cells(i)[2:], z]), [i + 1, *values(i)[2:], number(z)])
    yield nasty
    nasty = Nasty("one column", ["depth"], xy=None, outcomes=(ASK,)).line("depth")
    for i in range(30):
        nasty.row(f"-{i}.5", [Decimal(f"-{i}.5")])
    nasty.says = ("--no-points",)
    yield nasty
    nasty = Nasty("no coordinates", ["name", "amount"], xy=None, outcomes=(ASK,)).line("name,amount")
    for i in range(30):
        nasty.row(f"n{i},{i}", [f"n{i}", i])
    nasty.says = ("--no-points",)
    yield nasty
    nasty = Nasty("two pairs that fit alike", ["id", "lat1", "lon1", "lat2", "lon2"], xy=None, outcomes=(ASK,))
    nasty.line(",".join(nasty.names))
    for i in range(30):
        x, y = cells(i)[2:]
        nasty.row(",".join([str(i + 1), y, x, y, x]), [i + 1, *map(Decimal, (y, x, y, x))])
    nasty.says = ("--x", "--y")
    yield nasty
    nasty = Nasty("no names and either order possible", ["", "", ""], xy=None, outcomes=(ASK,))
    for i in range(30):
        nasty.row(f"p{i},{cells(i)[2]},{cells(i)[3]}", [f"p{i}", *values(i)[2:]])
    nasty.says = ("--x", "--y")
    yield nasty
    nasty = Nasty("a name that only contains lat", ["population", "plate", "lon", "lat"])
    nasty.line(",".join(nasty.names))
    for i in range(30):
        nasty.row(",".join([str(i * 1000), f"P{i}", *cells(i)[2:]]), [i * 1000, f"P{i}", *values(i)[2:]])
    yield nasty


def all_files():
    """Every nasty file, each with a trouble of its own."""
    for makers in (number_columns, null_words, word_columns, date_columns, decimal_signs, encodings, bytes_and_lines,
                   heads_and_tails, ragged_and_quoted, aligned, positions):
        yield from makers()
