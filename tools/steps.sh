# A run of many checks: each with a heading and its time, all of them counted. Sourced by dev.

passed=0
failed=0
failed_steps=()

# step TITLE COMMAND...: runs the command and goes on whatever comes of it. A command that runs
# tests counts by its tests, any other as one check.
step() {
  local title=$1 start=$SECONDS status=0 good=0 bad=0 log
  shift
  log=$(mktemp)
  printf '\n=== %s: %s\n' "$title" "$*"
  "$@" 2>&1 | tee "$log" || status=$?
  read -r good bad < <(count_tests "$log")
  rm -f "$log"
  if ((good + bad == 0)); then
    ((status == 0)) && good=1 || bad=1
  elif ((status != 0 && bad == 0)); then
    bad=1
  fi
  passed=$((passed + good)) failed=$((failed + bad))
  ((bad == 0)) || failed_steps+=("$title")
  printf -- '--- %s: %s in %d s\n' "$title" "$( ((bad)) && echo FAILED || echo ok)" \
    $((SECONDS - start))
}

# Sums the closing lines of ctest, "98% tests passed, 1 tests failed out of 50".
count_tests() {
  awk '/% tests passed, [0-9]+ tests failed out of [0-9]+/ { bad += $4; all += $NF }
       END { print all - bad, bad + 0 }' "$1"
}

# Prints the outcome of all steps; fails if one did.
summary() {
  printf '\n'
  ((failed == 0)) || printf 'Failed: %s\n' "${failed_steps[@]}"
  printf '%d passed, %d failed\n' "$passed" "$failed"
  ((failed == 0))
}
