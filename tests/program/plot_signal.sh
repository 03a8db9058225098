#!/bin/sh
# plot_signal.sh PLOT_SIGNAL: draws rows with a gap in them. Passes when that makes a picture, and not of other text;
# skipped (77) without gnuplot.
command -v gnuplot >/dev/null || { echo "skipped: there is no gnuplot" && exit 77; }
dir=$(mktemp -d) || exit 1
trap 'rm -rf "$dir"' EXIT
cat >"$dir/signal.csv" <<'ROWS'
time,lte_rsrp_dbm,lte_rsrq_db,lte_sinr_db,nr5g_rsrp_dbm,nr5g_rsrq_db,nr5g_sinr_db
2026-11-23T06:00:00.123Z,-93,-10,12.8,,,
2026-11-23T06:00:01.123Z,,,,,,
2026-11-23T06:00:02.123Z,-95,-11,10.5,-88,-11,-0.5
ROWS
"$1" "$dir/signal.csv" "$dir/picture.svg" "Title" && grep -q '>RSRQ (dB)<' "$dir/picture.svg" || exit 1
! "$1" "$0" "$dir/none.png"
