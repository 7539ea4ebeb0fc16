#!/bin/sh
# run.sh TARGET FOLDER SEEDS DICTIONARY: lets the fuzzer loose on a target for five seconds, or for
# VELTO_FUZZ_SECONDS. What it finds out it keeps in FOLDER, and begins there the next time; so is an input that
# breaks the target.
set -eu
target=$1 folder=$2 seeds=$3 dictionary=$4
mkdir -p "$folder/corpus"
exec "$target" "-max_total_time=${VELTO_FUZZ_SECONDS:-5}" -timeout=60 -rss_limit_mb=2048 -max_len=4096 \
    -dict="$dictionary" -artifact_prefix="$folder/" -verbosity=0 "$folder/corpus" "$seeds"
