#!/bin/sh
# plot_signal.sh PLOT_SIGNAL CSV: draws the rows. Passes when that makes a picture, and not of other text; skipped (77)
# without gnuplot.
command -v gnuplot >/dev/null || { echo "skipped: there is no gnuplot" && exit 77; }
dir=$(mktemp -d) || exit 1
trap 'rm -rf "$dir"' EXIT
"$1" "$2" "$dir/picture.svg" "Title" && grep -q '>RSRQ (dB)<' "$dir/picture.svg" || exit 1
! "$1" "$0" "$dir/none.png"
