#!/bin/sh
# Runs one fuzz target from the committed seeds and regression inputs.
#   fuzz/run.sh BUILD TARGET -runs=3000          a smoke run (what ctest does)
#   fuzz/run.sh BUILD TARGET -max_total_time=600 as long as one likes
# BUILD is the main build folder (the targets are in BUILD/fuzz); TARGET is
# ini, model_file, robot_ini, numeric, motion_csv or urdf. New inputs go to BUILD/fuzz/work_TARGET
# (smoke_TARGET for a -runs run, so both can run at once), emptied first; a
# crash, hang or leak leaves its input there as crash-*, timeout-*, leak-* or
# oom-*: keep it in fuzz/regressions/TARGET.
set -eu
build=$1 target=$2
shift 2
here=$(cd "$(dirname "$0")" && pwd)
case "$*" in
  *-runs=*) work=$build/fuzz/smoke_$target ;;
  *) work=$build/fuzz/work_$target ;;
esac
rm -rf "$work"
mkdir -p "$work"
regressions=$here/regressions/$target
[ -d "$regressions" ] || regressions=
exec "$build/fuzz/fuzz_$target" -timeout=10 -close_fd_mask=1 -artifact_prefix="$work/" "$@" \
  "$work" "$here/corpus/$target" $regressions
