"""Decides whether a stored value is what a cell of a file says. Shares nothing with the program."""

import datetime
import math
import re
from decimal import Decimal, InvalidOperation

NULL_WORDS = {"na", "n/a", "null", "\\n", "nan", "-", "--", "none", "#n/a"}
TRUE_WORDS = {"true", "yes", "y", "t"}
FALSE_WORDS = {"false", "no", "n", "f"}
PLAIN = re.compile(r"[+-]?(\d+\.?\d*|\.\d+)([eE][+-]?\d+)?\Z", re.ASCII)
ZEROS = re.compile(r"[+-]?0\d", re.ASCII)
DAY_FORMATS = ("%Y-%m-%d", "%Y/%m/%d", "%d %b %Y", "%d.%m.%Y", "%Y%m%d")
TIME_FORMATS = ("%H:%M:%S", "%H:%M:%S.%f", "%H:%M", "%I:%M:%S %p", "%I:%M %p")
BOTH_FORMATS = tuple(
    f"{day}{between}{time}" for day in ("%Y-%m-%d", "%Y/%m/%d") for between in ("T", " ") for time in TIME_FORMATS)


class Cell:
    """The text of a cell, and how its column is written: `decimal` sign, day first, `thousands` sign, padded."""

    def __init__(self, text, decimal=".", is_day_first=None, thousands="", is_padded=False):
        self.text = text
        self.decimal = decimal
        self.is_day_first = is_day_first
        self.thousands = thousands
        self.is_padded = is_padded


def as_decimal(cell):
    """The number that a cell spells, or None. Leading zeros make a code of it, not a number."""
    text = cell.text.strip().replace("\u2212", "-")
    if cell.thousands:
        text = text.replace(cell.thousands, "")
    if cell.decimal != ".":
        text = text.replace(cell.decimal, ".")
    if not PLAIN.match(text) or ZEROS.match(text):
        return None
    try:
        return Decimal(text)
    except InvalidOperation:
        return None


def equals_number(decimal, stored):
    """Whether a stored number is this decimal: to the last digit, as the stored number is written."""
    if isinstance(stored, bool) or not isinstance(stored, (int, float)):
        return False
    if isinstance(stored, float) and not math.isfinite(stored):
        return False
    return Decimal(repr(stored)) == decimal


def moments(text, stored, is_day_first):
    """The dates or times that a text may spell, of the kind of the stored one."""
    formats = {datetime.datetime: BOTH_FORMATS, datetime.date: DAY_FORMATS, datetime.time: TIME_FORMATS}[type(stored)]
    if is_day_first is not None:
        day = "%d/%m/%Y" if is_day_first else "%m/%d/%Y"
        if type(stored) is datetime.date:
            formats = (*formats, day)
        elif type(stored) is datetime.datetime:
            formats = (*formats, *(f"{day} {time}" for time in TIME_FORMATS))
    plain = re.sub(r"(?<=\d)(Z|\+00:?00)\Z", "", text.strip())
    for form in formats:
        try:
            read = datetime.datetime.strptime(plain, form)
        except ValueError:
            continue
        yield {datetime.datetime: read, datetime.date: read.date(), datetime.time: read.time()}[type(stored)]


def equals_moment(first, second):
    """Equal to the millisecond, as targets keep it."""
    if isinstance(first, datetime.datetime) and isinstance(second, datetime.datetime):
        return abs(first - second) < datetime.timedelta(milliseconds=1)
    if isinstance(first, datetime.time) and isinstance(second, datetime.time):
        day = datetime.date(2000, 1, 1)
        return equals_moment(datetime.datetime.combine(day, first), datetime.datetime.combine(day, second))
    return type(first) is type(second) and first == second


def is_time_of(stored, text):
    """Whether a text is the time that a cell spells, as formats without times keep it: 01:30:00 for 1:30:00."""
    if not re.fullmatch(r"\d\d:\d\d:\d\d(\.\d+)?", stored, re.ASCII):
        return False
    time = datetime.time.fromisoformat(stored.ljust(15, "0") if "." in stored else stored)
    return any(equals_moment(moment, time) for moment in moments(text, time, None))


def cell_holds(cell, stored):
    """Whether `stored` keeps the value of a cell, whatever its type."""
    text = cell.text
    if stored is None:
        return not text.strip() or text.strip().lower() in NULL_WORDS
    if isinstance(stored, str):
        return stored == text or (cell.is_padded and stored == text.strip()) or is_time_of(stored, text)
    if isinstance(stored, bool):
        return text.strip().lower() in (TRUE_WORDS if stored else FALSE_WORDS)
    if isinstance(stored, (int, float)):
        decimal = as_decimal(cell)
        if decimal is None:
            return isinstance(stored, float) and (
                math.isnan(stored) and text.strip().lower() == "nan"
                or math.isinf(stored) and text.strip().lower().lstrip("+-") in ("inf", "infinity"))
        return equals_number(decimal, stored)
    return any(equals_moment(moment, stored) for moment in moments(text, stored, cell.is_day_first))
