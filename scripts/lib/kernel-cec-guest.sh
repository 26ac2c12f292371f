# shellcheck shell=bash
# The part of scripts/test-kernel-cec that runs inside the QEMU guest, as root, chrooted into
# the host's file system (read-only, with a tmpfs on /run, so that a checkout anywhere, /tmp
# included, stays visible). The guest's kernel has the vivid test driver loaded: /dev/cec0
# (physical address 0.0.0.0) is the TV's adapter and /dev/cec1 (1.0.0.0) the audio
# system's, on one emulated HDMI CEC bus.
#
#   bash kernel-cec-guest.sh TARN-HOST AVCTL CONFIG
#
# cec-follower plays the audio system on /dev/cec1; tarn-host, with CONFIG naming the kernel
# CEC application on /dev/cec0, is driven with avctl; cec-ctl --monitor on /dev/cec0 shows
# what really went over the bus. Every wait is on a condition, with a bound. Prints one line
# per check and exits non-zero at the first that fails.
set -euo pipefail

readonly TARN_HOST=$1 AVCTL=$2 CONFIG=$3
readonly RUN=/run/kernel-cec
readonly LINK=$RUN/av_plugin.sock CONTROL=$RUN/control.sock
readonly TIME_LIMIT_MS=5000  # reply_time_limit_ms in CONFIG
readonly TO_AUDIO='Transmitted by TV to Audio System (0 to 5): '

passed=0
host_pid=''
follower_pid=''
monitor_pid=''

say() {
  printf 'kernel-cec: %s\n' "$*"
}

show_logs() {
  local file
  for file in "$RUN"/*.log; do
    printf '\n--- %s (last 40 lines)\n' "${file##*/}"
    tail -n 40 "$file"
  done
}

fail() {
  say "FAILED: $*"
  show_logs
  say "$passed passed, 1 failed"
  exit 1
}

pass() {
  passed=$((passed + 1))
  say "ok: $*"
}

# wait_for SECONDS WHAT COMMAND...: runs COMMAND until it succeeds, at most SECONDS long.
wait_for() {
  local limit=$1 what=$2
  shift 2
  local end=$((SECONDS + limit))
  until "$@"; do
    [ "$SECONDS" -lt "$end" ] || fail "no $what within ${limit}s"
    sleep 0.1
  done
}

# The lines the monitor has shown since line |$1|.
monitor_since() {
  tail -n "+$(($1 + 1))" "$RUN/monitor.log"
}

monitor_lines() {
  wc -l <"$RUN/monitor.log"
}

# monitor_shows MARK PATTERN: whether the monitor has shown PATTERN since line MARK.
monitor_shows() {
  monitor_since "$1" | grep -qF -- "$2"
}

# on_bus MARK PATTERN WHAT: waits until the monitor shows PATTERN.
on_bus() {
  wait_for 5 "$3 on the bus" monitor_shows "$1" "$2"
}

# Invokes a service method; prints avctl's JSON answer.
invoke() {
  "$AVCTL" --socket "$LINK" --timeout 8000 invoke "$@" device_id=tv-1
}

power_state() {
  invoke GetPowerState | sed -n 's/.*"power_state":"\([a-z]*\)".*/\1/p'
}

expect_code() {
  local code=$1 answer
  shift
  answer=$(invoke "$@") || fail "avctl invoke $* failed: $answer"
  [[ $answer == "{\"code\":$code,"* ]] || fail "avctl invoke $*: expected code $code, got $answer"
}

# Asks for the power state until the monitor has shown the follower reporting |$2| since
# line |$3|; the power state read then must be |$1|. The follower takes a few seconds to
# pass through its transition, and may answer with the old state for a moment.
follow_power() {
  local expected=$1 report=$2 mark=$3 state
  local end=$((SECONDS + 30))
  until monitor_shows "$mark" "pwr-state: $report"; do
    [ "$SECONDS" -lt "$end" ] || fail "the follower did not report $report within 30s"
    power_state >/dev/null
  done
  state=$(power_state)
  [ "$state" = "$expected" ] || fail "GetPowerState read \"$state\" once the follower was $report"
}

start() {
  mkdir -p "$RUN"
  cec-ctl -d1 --audio >/dev/null || fail "cec-ctl could not claim the audio system's address"
  cec-follower -d1 -s -m >"$RUN/follower.log" 2>&1 &
  follower_pid=$!
  stdbuf -oL cec-ctl -d0 --monitor >"$RUN/monitor.log" 2>&1 &
  monitor_pid=$!
  "$TARN_HOST" --config "$CONFIG" >"$RUN/host.out" 2>"$RUN/host.log" &
  host_pid=$!
  wait_for 20 "ready line from tarn-host" grep -q '^tarn-host: serving' "$RUN/host.out"
  grep -q 'is the kernel CEC application on /dev/cec0' "$RUN/host.log" ||
    fail "tarn-host did not start the kernel CEC application"
  pass "tarn-host serves nimbara.native.cec on /dev/cec0: $(grep -o 'claimed logical address.*' "$RUN/host.log")"
  # Under emulation the follower's first answers can come late; the test starts once the
  # whole chain answers.
  wait_for 30 "power status through the chain" test "$(power_state)" = on
  pass "GetPowerState reads \"on\" from the follower"
}

test_power() {
  local mark
  mark=$(monitor_lines)
  expect_code 0 SetPowerState power_state=off
  on_bus "$mark" "${TO_AUDIO}STANDBY (0x36)" '<Standby>'
  follow_power off 'standby (0x01)' "$mark"
  pass "SetPowerState off: <Standby> acknowledged; GetPowerState reads \"off\" in standby"

  mark=$(monitor_lines)
  expect_code 0 SetPowerState power_state=on
  on_bus "$mark" "${TO_AUDIO}USER_CONTROL_PRESSED (0x44)" '<User Control Pressed>'
  on_bus "$mark" 'ui-cmd: power-on-function (0x6d)' '[Power On Function]'
  on_bus "$mark" "${TO_AUDIO}USER_CONTROL_RELEASED (0x45)" '<User Control Released>'
  follow_power on 'on (0x00)' "$mark"
  pass "SetPowerState on: pressed and released acknowledged; GetPowerState reads \"on\" when on"
}

test_sound_mode() {
  expect_code 100 SetSoundMode sound_mode=Music
  grep -q 'sound mode 1 not set: HDMI-CEC has no standard sound-mode message' "$RUN/host.log" ||
    fail "no log line for the sound mode without a command"
  pass "SetSoundMode Music (no command configured): 100, and the log says why"
  local mark
  mark=$(monitor_lines)
  expect_code 0 SetSoundMode sound_mode=Movie
  on_bus "$mark" "${TO_AUDIO}VENDOR_COMMAND (0x89)" '<Vendor Command>'
  pass "SetSoundMode Movie: the configured vendor command acknowledged"
}

# expect_failure CAUSE ARGS...: the request gives 100 within the time limit, and tarn-host's
# log names CAUSE.
expect_failure() {
  local cause=$1 start elapsed
  shift
  start=$(date +%s%N)
  expect_code 100 "$@"
  elapsed=$((($(date +%s%N) - start) / 1000000))
  [ "$elapsed" -lt "$TIME_LIMIT_MS" ] || fail "$* took ${elapsed} ms"
  grep -qF -- "$cause" "$RUN/host.log" || fail "no log line naming the cause: $cause"
  say "  $* -> 100 after ${elapsed} ms"
}

stop_follower() {
  kill "$follower_pid"
  wait "$follower_pid" 2>/dev/null || true
  follower_pid=
}

test_failures() {
  # Without a follower the kernel on the audio system's side refuses the request itself.
  stop_follower
  expect_failure 'failed: refused with <Feature Abort>, reason 0' GetPowerState
  pass "stopped follower: GetPowerState 100, the log names the refusal"

  # A follower that keeps quiet: the kernel's wait for the reply runs out.
  cec-follower -d1 -i all,0x8f >"$RUN/quiet-follower.log" 2>&1 &
  follower_pid=$!
  wait_for 10 "start of the quiet follower" grep -q 'Initial Event' "$RUN/quiet-follower.log"
  expect_failure 'failed: no reply within 1000 ms' GetPowerState
  pass "follower that does not answer: GetPowerState 100, the log names the missing reply"
  stop_follower

  # Nobody at logical address 5: nothing acknowledges the frame.
  cec-ctl -d1 --clear >/dev/null
  expect_failure 'failed: not acknowledged: no device answers at logical address 5' \
    SetPowerState power_state=off
  pass "no audio system on the bus: SetPowerState 100, the log names the missing acknowledgement"
}

test_stop() {
  kill -TERM "$host_pid"
  local status=0
  wait "$host_pid" || status=$?
  host_pid=
  [ "$status" -eq 0 ] || fail "tarn-host exited with $status on SIGTERM"
  if [ -e "$LINK" ] || [ -e "$CONTROL" ]; then
    fail "tarn-host left its sockets behind"
  fi
  pass "tarn-host stops cleanly on SIGTERM"
}

main() {
  start
  test_power
  test_sound_mode
  test_failures
  test_stop
  kill "$monitor_pid" 2>/dev/null || true
  say "$passed passed, 0 failed"
}

main
