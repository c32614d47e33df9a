# shellcheck shell=bash disable=SC2154
# For the tests of this folder, sourced: a Slurm of our own on this machine, of two nodes, with its own ports, munge
# socket and key, and all its files in $scratch, a folder that the caller makes. The caller calls stop_slurm at its end.
slurm=$scratch/slurm
export SLURM_CONF=$slurm/slurm.conf

# free_port NUMBER: the first port from there on that nobody listens on.
free_port() {
  local port=$1
  while (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; do port=$((port + 1)); done
  echo "$port"
}

write_slurm_conf() {
  local host base
  host=$(hostname --short)
  base=$((20000 + $$ % 20000))
  cat >"$SLURM_CONF" <<END
ClusterName=archive
SlurmctldHost=$host(127.0.0.1)
SlurmUser=$(id --user --name)
SlurmdUser=$(id --user --name)
AuthType=auth/munge
# Credentials expire soon, as a job that lost its node waits for that.
AuthInfo=socket=$slurm/munge.socket,cred_expire=5
SlurmctldPort=$(free_port $base)
StateSaveLocation=$slurm/state
SlurmdSpoolDir=$slurm/spool-%n
SlurmctldPidFile=$slurm/slurmctld.pid
SlurmdPidFile=$slurm/slurmd-%n.pid
SlurmctldLogFile=$slurm/slurmctld.log
SlurmdLogFile=$slurm/slurmd-%n.log
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
SlurmdParameters=config_overrides
JobAcctGatherType=jobacct_gather/none
SchedulerParameters=batch_sched_delay=0,sched_interval=2,sched_min_interval=0
ReturnToService=2
SlurmdTimeout=4
MessageTimeout=4
InactiveLimit=0
KillWait=2
MinJobAge=3600
NodeName=one NodeAddr=127.0.0.1 NodeHostname=$host Port=$(free_port $((base + 1))) CPUs=2
NodeName=two NodeAddr=127.0.0.1 NodeHostname=$host Port=$(free_port $((base + 101))) CPUs=2
PartitionName=archive Nodes=ALL Default=YES MaxTime=INFINITE
END
}

# start_node NAME
start_node() {
  mkdir -p "$slurm/spool-$1"
  VL_NODE=$slurm/$1 slurmd -N "$1"
}

start_slurm() {
  mkdir -p "$slurm/state"
  # munged and slurmctld refuse folders that others may write to.
  chmod 755 "$scratch" "$slurm"
  write_slurm_conf
  head --bytes=128 /dev/urandom >"$slurm/munge.key"
  chmod 400 "$slurm/munge.key"
  munged --force --key-file="$slurm/munge.key" --socket="$slurm/munge.socket" --pid-file="$slurm/munged.pid" \
    --log-file="$slurm/munged.log" --seed-file="$slurm/munged.seed" 2>"$slurm/munged.txt" ||
    fail "munge does not start: $(cat "$slurm/munged.txt")"
  slurmctld 2>"$slurm/slurmctld.txt" || fail "slurmctld does not start: $(cat "$slurm/slurmctld.txt")"
  start_node one
  start_node two
  wait_for_node one idle
  wait_for_node two idle
}

# wait_for_node NAME STATE
wait_for_node() {
  local tries state
  for ((tries = 0; tries < 300; ++tries)); do
    state=$(sinfo --noheader --nodes="$1" --format=%T 2>/dev/null || true)
    [[ $state != "$2"* ]] || return 0
    sleep 0.2
  done
  fail "node $1 is ${state:-unknown}, not $2: $(tail -n 5 "$slurm/slurmd-$1.log")"
}

# having WORD...: the numbers of the processes that have all these words in their environment.
having() {
  local folder word
  for folder in /proc/[0-9]*; do
    for word in "$@"; do
      grep --quiet --null-data --fixed-strings --line-regexp -e "$word" "$folder/environ" 2>/dev/null || continue 2
    done
    echo "${folder#/proc/}"
  done
}

# lose_node NAME: kills all its processes, as when its power goes: the daemon, the jobs, and between them their
# keepers, which must not live to tell how their jobs ended.
lose_node() {
  local jobs keepers=()
  mapfile -t jobs < <(having "SLURM_CONF=$SLURM_CONF" "SLURMD_NODENAME=$1")
  if ((${#jobs[@]} > 0)); then
    mapfile -t keepers < <(ps -o ppid= -p "${jobs[*]}" | sort -u | xargs ps -o pid=,comm= -p |
      awk '$2 == "slurmstepd" { print $1 }')
  fi
  # shellcheck disable=SC2046
  kill -KILL $(having "VL_NODE=$slurm/$1") "${keepers[@]}" "${jobs[@]}" 2>/dev/null || true
}

stop_slurm() {
  local pid
  lose_node one
  lose_node two
  for pid in slurmctld munged; do
    if [[ -e $slurm/$pid.pid ]]; then kill -KILL "$(cat "$slurm/$pid.pid")" 2>/dev/null || true; fi
  done
}
