"""A table in which each row says what is measured, what it must be at least, and whether it is."""
from typing import NamedTuple


class Row(NamedTuple):
    work: str
    wanted: str
    measured: str
    met: bool


def as_markdown(rows):
    lines = ["| work | at least | measured | met |", "|---|---|---|---|"]
    for row in rows:
        met = "yes" if row.met else "**no**"
        lines.append(f"| {row.work} | {row.wanted} | {row.measured} | {met} |")
    return "\n".join(lines)


def columns(header, rows):
    lines = ["| " + " | ".join(header) + " |", "|" + "---|" * len(header)]
    lines += ["| " + " | ".join(row) + " |" for row in rows]
    return "\n".join(lines)


def replaced(page, name, text):
    """The page with `text` between `<!-- table: name -->` and the next `<!-- end of table -->`."""
    begin = page.index(f"<!-- table: {name} -->") + len(f"<!-- table: {name} -->")
    end = page.index("<!-- end of table -->", begin)
    return page[:begin] + "\n\n" + text + "\n\n" + page[end:]


def span(values, digits):
    """The least and the greatest of the values, or the one that all are."""
    texts = [f"{value:.{digits}f}" for value in (min(values), max(values))]
    return texts[0] if texts[0] == texts[1] else f"{texts[0]} to {texts[1]}"
