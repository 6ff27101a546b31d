#!/usr/bin/python3
"""Builds res/velmora-iconfont.ttf and res/velmora-iconfont.json from mapping.tsv.

The glyphs come from the Debian package fonts-material-design-icons-iconfont (Apache-2.0).
Only the mapped glyphs are kept, each under the code point the console draws it by.

    /usr/bin/python3 tools/iconfont/build_iconfont.py [--preview /tmp/icons.png]

Needs python3-fonttools (the system interpreter: a virtualenv python may lack it); --preview
also needs ImageMagick's convert and montage.
"""

import argparse
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile

from fontTools import subset
from fontTools.ttLib import TTFont
from fontTools.ttLib.tables._c_m_a_p import CmapSubtable

FAMILY = "velmora-iconfont"
HERE = os.path.dirname(os.path.abspath(__file__))
REPO = os.path.dirname(os.path.dirname(HERE))
SOURCE_FONT = "/usr/share/fonts/truetype/material-design-icons-iconfont/MaterialIcons-Regular.ttf"
SOURCE_CODEPOINTS = "/usr/share/fonts-material-design-icons-iconfont/scss/_variables.scss"
# Fixed so that rebuilding from the same inputs gives the same bytes (seconds since 1904).
TIMESTAMP = 3786912000
PRIVATE_USE = range(0xE000, 0xF900)


class MappingError(Exception):
    pass


def read_mapping(path):
    """Returns [(code point, name, source glyph, meaning)] in file order."""
    rows = []
    seen_points, seen_names = set(), set()
    with open(path, encoding="utf-8") as handle:
        for number, line in enumerate(handle, 1):
            line = line.rstrip("\n")
            if not line.strip() or line.startswith("#"):
                continue
            fields = line.split("\t")
            if len(fields) != 4:
                raise MappingError(f"{path}:{number}: expected 4 tab-separated fields, got {len(fields)}")
            point_text, name, source, meaning = (field.strip() for field in fields)
            try:
                point = int(point_text, 16)
            except ValueError:
                raise MappingError(f"{path}:{number}: bad code point {point_text!r}") from None
            if point not in PRIVATE_USE:
                raise MappingError(f"{path}:{number}: U+{point:04X} is outside the private use area")
            if not re.fullmatch(r"[a-z][a-z0-9_]*", name):
                raise MappingError(f"{path}:{number}: bad icon name {name!r}")
            if point in seen_points or name in seen_names:
                raise MappingError(f"{path}:{number}: U+{point:04X} / {name} is mapped twice")
            seen_points.add(point)
            seen_names.add(name)
            rows.append((point, name, source, meaning))
    if not rows:
        raise MappingError(f"{path}: no mappings")
    return rows


def read_source_codepoints(path):
    with open(path, encoding="utf-8") as handle:
        text = handle.read()
    return {m.group(1): int(m.group(2), 16) for m in re.finditer(r'"([^"]+)":\s*([0-9a-fA-F]+)\b', text)}


def set_names(font, version):
    name_table = font["name"]
    copyright_notice = name_table.getDebugName(0) or ""
    name_table.names = []
    entries = {
        0: copyright_notice,
        1: FAMILY,
        2: "Regular",
        3: f"{FAMILY}-{version}",
        4: FAMILY,
        5: f"Version {version}",
        6: FAMILY,
        13: "Licensed under the Apache License, Version 2.0",
    }
    for name_id, value in entries.items():
        if value:
            name_table.setName(value, name_id, 3, 1, 0x409)
            name_table.setName(value, name_id, 1, 0, 0)


def set_cmap(font, mapping):
    tables = []
    for platform, encoding in ((3, 1), (0, 3)):
        table = CmapSubtable.newSubtable(4)
        table.platformID, table.platEncID, table.language = platform, encoding, 0
        table.cmap = dict(mapping)
        tables.append(table)
    font["cmap"].tables = tables


def build(mapping_path, source_font, source_codepoints, out_font, out_table, version="1.0"):
    rows = read_mapping(mapping_path)
    codepoints = read_source_codepoints(source_codepoints)
    font = TTFont(source_font)
    source_cmap = font.getBestCmap()

    glyph_for_point = {}
    for point, name, source, _ in rows:
        source_point = codepoints.get(source)
        if source_point is None:
            raise MappingError(f"source glyph {source!r} (for {name}) is not in the code point list")
        glyph = source_cmap.get(source_point)
        if glyph is None:
            raise MappingError(f"source glyph {source!r} (U+{source_point:04X}, for {name}) is not in the font")
        glyph_for_point[point] = glyph

    options = subset.Options()
    options.layout_features = []
    options.name_IDs = ["*"]
    options.name_legacy = True
    options.name_languages = ["*"]
    options.notdef_outline = True
    options.recalc_timestamp = False
    subsetter = subset.Subsetter(options)
    subsetter.populate(glyphs=sorted(set(glyph_for_point.values())))
    subsetter.subset(font)

    for table in ("GSUB", "GPOS", "GDEF"):
        if table in font:
            del font[table]
    set_cmap(font, glyph_for_point)
    set_names(font, version)
    font["head"].created = TIMESTAMP
    font["head"].modified = TIMESTAMP
    font["OS/2"].usFirstCharIndex = min(glyph_for_point)
    font["OS/2"].usLastCharIndex = max(glyph_for_point)
    font.recalcTimestamp = False
    os.makedirs(os.path.dirname(out_font), exist_ok=True)
    write_atomically(out_font, lambda path: font.save(path))

    table = {"family": FAMILY, "icons": {name: f"{point:04x}" for point, name, _, _ in rows}}
    text = json.dumps(table, indent=4) + "\n"
    write_atomically(out_table, lambda path: open(path, "w", encoding="utf-8").write(text))
    return rows


def write_atomically(path, writer):
    directory = os.path.dirname(os.path.abspath(path))
    handle, temporary = tempfile.mkstemp(dir=directory, prefix=".tmp-")
    os.close(handle)
    try:
        writer(temporary)
        os.chmod(temporary, 0o644)
        os.replace(temporary, path)
    except BaseException:
        os.unlink(temporary)
        raise


def render_preview(rows, font_path, out_png):
    """One tile per glyph with its code point and name under it, in mapping order."""
    label_font = os.path.join(REPO, "res", "SourceSansPro-Regular.ttf")
    for tool in ("convert", "montage"):
        if not shutil.which(tool):
            raise MappingError(f"--preview needs ImageMagick's {tool}")
    with tempfile.TemporaryDirectory() as work:
        tiles = []
        for index, (point, name, _, _) in enumerate(rows):
            tile = os.path.join(work, f"{index:03d}.png")
            subprocess.run(
                ["convert", "-background", "white", "-fill", "#3C3C46", "-font", font_path, "-pointsize", "64",
                 "-gravity", "center", f"label:{chr(point)}", "-extent", "96x80",
                 "(", "-font", label_font, "-pointsize", "13", "-fill", "#3C3C46",
                 f"label:U+{point:04X}\\n{name}", "-gravity", "center", "-extent", "120x34", ")",
                 "-gravity", "center", "-append", tile],
                check=True)
            tiles.append(tile)
        subprocess.run(["montage", "-font", label_font, *tiles, "-tile", "7x", "-geometry", "+6+6", "-background", "white", out_png],
                       check=True)


def main(argv):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--mapping", default=os.path.join(HERE, "mapping.tsv"))
    parser.add_argument("--source-font", default=SOURCE_FONT)
    parser.add_argument("--source-codepoints", default=SOURCE_CODEPOINTS)
    parser.add_argument("--out-font", default=os.path.join(REPO, "res", FAMILY + ".ttf"))
    parser.add_argument("--out-table", default=os.path.join(REPO, "res", FAMILY + ".json"))
    parser.add_argument("--preview", metavar="PNG", help="also render every mapped glyph into this PNG")
    args = parser.parse_args(argv)
    try:
        rows = build(args.mapping, args.source_font, args.source_codepoints, args.out_font, args.out_table)
        print(f"{len(rows)} glyphs -> {args.out_font} ({os.path.getsize(args.out_font)} bytes), {args.out_table}")
        if args.preview:
            render_preview(rows, args.out_font, args.preview)
            print(f"preview -> {args.preview}")
    except (MappingError, OSError, subprocess.CalledProcessError) as error:
        print(f"build_iconfont: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
