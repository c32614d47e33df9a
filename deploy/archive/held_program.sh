# shellcheck shell=bash disable=SC2154
# For the tests of this folder, sourced: a program in place of fmp4 that stops in the middle of one item, with a partial
# output, so that it can be killed there. The caller makes the folder $scratch and sets FMP4.

# hold ITEM: from now on FMP4 is that program.
hold() {
  mkdir "$scratch/hold"
  plain_program=${plain_program:-$FMP4}
  cat >"$scratch/held_fmp4" <<END
#!/usr/bin/env bash
if [[ " \$* " == *" export "*"/$1 "* && -e "$scratch/hold" ]]; then
  # The video's output follows its option.
  while [[ \$1 != --video ]]; do shift; done
  head --bytes=1000 /dev/zero >"\$2"
  echo "\${SLURM_ARRAY_JOB_ID:-}_\${SLURM_ARRAY_TASK_ID:-}" >"$scratch/hold/job"
  echo "\${SLURMD_NODENAME:-here}" >"$scratch/hold/new" && mv "$scratch/hold/new" "$scratch/hold/node"
  while [[ -e "$scratch/hold" ]]; do sleep 0.1; done
  exit 1
fi
exec "$plain_program" "\$@"
END
  chmod +x "$scratch/held_fmp4"
  export FMP4=$scratch/held_fmp4
}

# wait_until_held: prints the node that the item is held on.
wait_until_held() {
  local tries
  for ((tries = 0; tries < 600; ++tries)); do
    if [[ -e $scratch/hold/node ]]; then
      cat "$scratch/hold/node"
      return
    fi
    sleep 0.1
  done
  fail "the item was not reached in a minute"
}

# release: the item is no longer held.
release() {
  rm -r "$scratch/hold"
}
