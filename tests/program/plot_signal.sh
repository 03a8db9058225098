#!/bin/sh
# plot_signal.sh PLOT_SIGNAL: draws rows with a gap in them, and with a clock that was set back. Passes when the picture
# has the signals that have values and no others, and when other text is refused; skipped (77) without gnuplot.
command -v gnuplot >/dev/null || { echo "skipped: there is no gnuplot" && exit 77; }
dir=$(mktemp -d) || exit 1
trap 'rm -rf "$dir"' EXIT
cat >"$dir/rows.csv" <<'ROWS'
time,uptime,reg,lte.rsrp,lte.rsrq,lte.sinr,nr5g.rsrp
2026-11-23T06:00:00.123Z,1.000,lte,-93,-10,,
2026-11-23T06:00:01.123Z,2.000,none,,,,
2026-11-23T05:00:00.000Z,3.000,lte_nr5g,-90,-9,,-88
ROWS
"$1" "$dir/rows.csv" "$dir/picture.svg" "Title" && grep -q '>RSRQ (dB)<' "$dir/picture.svg" || exit 1
grep -q SINR "$dir/picture.svg" && exit 1
! "$1" "$0" "$dir/none.png"
