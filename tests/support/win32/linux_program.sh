#!/bin/sh
# linux_program.sh FOLDER PROGRAM [ARGUMENT...]: runs a Linux program for a Windows test under Wine, names with
# a drive letter turned into the Linux names of the same files. Leaves what it prints and its exit code in
# FOLDER, as out, err and code.
linux_name() {
  drive=$(printf %s "${1%%:*}" | tr A-Z a-z)
  printf '%s/dosdevices/%s:%s' "$VL_WINE_PREFIX" "$drive" "$(printf %s "${1#?:}" | tr '\\' /)"
}

folder=$(linux_name "$1")
shift
count=$#
while [ "$count" -gt 0 ]; do
  argument=$1
  shift
  case $argument in
    [A-Za-z]:[\\/]*) argument=$(linux_name "$argument") ;;
  esac
  set -- "$@" "$argument"
  count=$((count - 1))
done
"$@" </dev/null >"$folder/out" 2>"$folder/err"
echo $? >"$folder/code.part"
mv "$folder/code.part" "$folder/code"
