#!/bin/bash
# linux_program.sh FOLDER PROGRAM [ARGUMENT...]: runs a Linux program for a Windows test under Wine, names with
# a drive letter turned into the Linux names of the same files. Leaves what it prints and its exit code in
# FOLDER, as out, err and code.
arguments=()
for argument in "$@"; do
  if [[ $argument == [A-Za-z]:[\\/]* ]]; then
    drive=${argument:0:1}
    argument=$VL_WINE_PREFIX/dosdevices/${drive,}:${argument:2}
    argument=${argument//\\//}
  fi
  arguments+=("$argument")
done
folder=${arguments[0]}
"${arguments[@]:1}" </dev/null >"$folder/out" 2>"$folder/err"
echo $? >"$folder/code.part"
mv "$folder/code.part" "$folder/code"
