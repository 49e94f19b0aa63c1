#!/usr/bin/env bash
# Every command whose result cannot be written (a full disk: /dev/full) must fail and say so.
# Usage: tool_full_disk.sh FIOFLA EXAMPLES_DIR
set -u
tool="$1"
examples="$2"
status=0
check() {
  local err
  err="$("$tool" "$@" 2>&1 >/dev/full)"
  local code=$?
  if [[ $code -eq 0 || "$err" != *"cannot write the result"* ]]; then
    echo "FAIL: fiofla $* > /dev/full exited $code: $err"
    status=1
  fi
}
check bet "$examples/n2_77k_silica.csv"
check bet "$examples/n2_77k_silica.csv" --json
check tplot "$examples/n2_77k_silica.aif"
check bjh "$examples/n2_77k_silica.aif"
check report "$examples/n2_77k_silica.csv"
check reduce "$examples/n2_77k_run.json"
check convert "$examples/n2_77k_silica.aif" --to pygaps
check gas z N2 --p 500 --t 77.35
check help
exit $status
