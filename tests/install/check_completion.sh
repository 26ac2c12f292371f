#!/usr/bin/env bash
# Completes avctl command lines with the bash completion and compares the candidates with
# what avctl and the plugin really have: the commands and options of `avctl --help`, the
# service methods of the plugin's name table, and a few prefixes.
# Usage: check_completion.sh COMPLETION_FILE AVCTL AV_STUB_SOURCE
set -euo pipefail
completion=$1
avctl=$2
stub_source=$3
# shellcheck source=/dev/null
source "$completion"

failures=0

# The sorted candidates for a command line given as words, as bash splits them (at spaces,
# and around "="), the cursor at the end of the last word ("" for a new word).
complete_words() {
  COMP_WORDS=("$@")
  COMP_CWORD=$(($# - 1))
  COMP_LINE="$*"
  COMP_POINT=${#COMP_LINE}
  _avctl
  printf '%s\n' "${COMPREPLY[@]}" | sort | tr '\n' ' ' | sed 's/ $//'
}

check() {
  local expected=$1
  shift
  local actual
  actual=$(complete_words "$@")
  if [ "$actual" != "$expected" ]; then
    printf 'completing "%s":\n  got      %s\n  expected %s\n' "$*" "$actual" "$expected"
    failures=$((failures + 1))
  fi
}

sorted_words() {
  sort -u | tr '\n' ' ' | sed 's/ $//'
}

help=$("$avctl" --help)
commands=$(sed -n '/^Subcommands:/,/^$/s/^  \([a-z][a-z-]*\) .*/\1/p' <<<"$help" | sorted_words)
options=$(grep -o -- '--[a-z][a-z-]*' <<<"$(sed -n '/^Options:/,/^$/p' <<<"$help")" | sorted_words)
methods=$(sed -n 's/^ *{"\([A-Za-z]*\)", &AvService::.*/\1/p' "$stub_source" | sorted_words)
[ -n "$commands" ] && [ -n "$options" ] && [ "$(wc -w <<<"$methods")" -eq 13 ] ||
  { echo "cannot read the commands, options or methods: [$commands] [$options] [$methods]"; exit 1; }

# Every command, option and method that avctl and the plugin have, and nothing else.
check "$commands" avctl ""
check "$options" avctl -
check "$methods" avctl invoke ""
check "$methods" avctl --timeout 500 --socket = /tmp/s invoke ""
# Prefixes, options between the words, each command's own options.
check "GetSoundMode GetSoundMuteState GetSpeakerVolume" avctl invoke GetS
check "disconnect discover" avctl --control /tmp/c dis
check "--args" avctl invoke --a
check "--control --count" avctl events --co
check "" avctl property ""
# invoke's argument keys, and the words a key accepts.
check "device_id= power_state=" avctl invoke SetPowerState ""
check "speaker_volume:=" avctl invoke SetSpeakerVolume device_id = x sp
check "off on" avctl invoke SetPowerState power_state =
check "Movie Music" avctl invoke SetSoundMode sound_mode = M
check "" avctl invoke SetSpeakerVolume speaker_volume := ""
check "" avctl --timeout ""

[ "$failures" -eq 0 ] || exit 1
echo "avctl completion: commands, options, the $(wc -w <<<"$methods") methods and prefixes OK"
