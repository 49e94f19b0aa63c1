#!/usr/bin/env bash
# Renders the HTML report of an isotherm in headless Chromium and checks that the
# screenshot shows a page with content rather than a blank or error page.
# usage: render_report.sh FIOFLA PNG_INSPECT ISOTHERM OUT_DIR
set -euo pipefail
fiofla=$1 inspect=$2 isotherm=$3 out=$4
mkdir -p "$out"
"$fiofla" report "$isotherm" -o "$out/report.html"
profile=$(mktemp -d)
trap 'rm -rf "$profile"' EXIT
# The network flags keep Chromium from reaching out; the report needs nothing outside itself.
chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run \
  --disable-background-networking --disable-component-update --disable-sync \
  --hide-scrollbars --user-data-dir="$profile" --window-size=1100,2600 \
  --screenshot="$out/report.png" "file://$(realpath "$out/report.html")" 2>"$out/chromium.log" || {
  cat "$out/chromium.log" >&2
  exit 1
}
test -s "$out/report.png"
"$inspect" "$out/report.png" 0.02
