#!/usr/bin/env bash
# The board's desktop entry and AppStream metainfo as the validators read them, and its icon
# as an SVG document.  data_test.sh CONFIGURED_DATA_DIR SOURCE_DATA_DIR
set -euo pipefail
for tool in desktop-file-validate appstreamcli python3; do
  command -v "$tool" >/dev/null ||
    { echo "SKIP: $tool is not installed (scripts/install-deps.sh installs it)"; exit 77; }
done
desktop-file-validate "$1"/*.desktop
appstreamcli validate --no-net "$1"/*.metainfo.xml
python3 -c 'import sys, xml.etree.ElementTree as tree
svg = tree.parse(sys.argv[1]).getroot()
sys.exit(svg.tag != "{http://www.w3.org/2000/svg}svg" or svg.get("viewBox") is None)' "$2/velmora-widgets.svg"
