#!/usr/bin/env bash
# Runs the README's "By hand" block as a user pastes it into a shell, against the build tree
# BUILD_DIR instead of build/release (its build line is left out), in a fresh runtime
# folder, and checks every reply it promises.
#   readme_by_hand.sh README.md BUILD_DIR
set -euo pipefail
readme=$1
build=$(cd "$2" && pwd)

block=$(sed -n '/^## By hand/,/^```$/p' "$readme" | sed '1,/^```sh$/d;/^```$/d' | grep -v '^cmake ')
block=${block//build\/release/$build}
runtime_dir=$(mktemp -d)
trap 'rm -rf "$runtime_dir"' EXIT
# The block's own background jobs are waited for: the host has ended when the shell does.
output=$(cd "$runtime_dir" && XDG_RUNTIME_DIR=$runtime_dir bash -c "$block
wait" 2>"$runtime_dir/stderr") || true

status=0
for expected in \
    'tarn-host: serving' \
    '{"ready":true}' \
    '{"code":0,"result":{"speaker_volume":0}}' \
    '{"id":35,"data":["tv-1","av_plugin"]}' \
    '{"ok":true}' \
    '{"found":true,"device":{"device_id":"tv-1"' \
    '{"code":0,"result":{}}' \
    '"uptime_s":'; do
  if ! grep -qF -- "$expected" <<<"$output"; then
    echo "missing from the output: $expected" >&2
    status=1
  fi
done
if [ "$status" -ne 0 ]; then
  printf '%s\n--- stderr ---\n' "$output" >&2
  cat "$runtime_dir/stderr" >&2
fi
# The host stopped on the block's kill; its sockets went with it.
if [ -n "$(find "$runtime_dir/tarn" -type s 2>/dev/null)" ]; then
  echo "the host left its sockets behind" >&2
  exit 1
fi
exit "$status"
