# Wall times of the stages of a ./zent run, sourced by ./zent and by
# scripts/setup.sh. Each stage is printed as it ends and added to the file
# $ZENT_STAGE_FILE, which ./zent prints again at its end with the total.

stage_now_ms() { date +%s%3N; }

# stage_done NAME START_MS [NOTE]: prints and records one finished stage.
stage_done() {
  local name=$1 start=$2 note=${3:-} elapsed
  elapsed=$(( $(stage_now_ms) - start ))
  local line
  line=$(printf '%-44s %7d.%d s%s' "$name" $((elapsed / 1000)) $((elapsed % 1000 / 100)) "${note:+  ($note)}")
  echo "== stage $line" >&2
  if [ -n "${ZENT_STAGE_FILE:-}" ]; then echo "$line" >>"$ZENT_STAGE_FILE"; fi
}

# timed NAME COMMAND...: a stage that must succeed; a failure ends the run
# as it would without the timing (the list at the end shows it unfinished).
timed() {
  local name=$1 start; shift
  start=$(stage_now_ms)
  "$@"
  stage_done "$name" "$start"
}

# timed_group NAME COMMAND...: a group of tests; its status is returned, so
# that the other groups still run.
timed_group() {
  local name=$1 start status=0; shift
  start=$(stage_now_ms)
  "$@" || status=$?
  stage_done "$name" "$start" "$([ $status -eq 0 ] && echo passed || echo "FAILED, status $status")"
  return $status
}
