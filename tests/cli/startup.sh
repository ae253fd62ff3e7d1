#!/usr/bin/env bash
# The real program's start: start-up files in the working directory, the
# option messages with their exit status, and which stream they go to.
set -u
program=$(realpath "$1")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
failures=0
# Help comes from $ZOR_HOME/documentation; without it the help options say so.
unset ZOR_HOME

# expect NAME STATUS STDOUT STDERR -- ARGS...
# Runs without a display: a start that loads everything goes on to open its
# windows and ends there with status 1 and the two lines of $no_display.
no_display="Error trying to open the display.
If you are using ssh to connect from another system, try 'ssh -X'
"
expect() {
  local name=$1 status=$2 out=$3 err=$4
  shift 5
  env -u DISPLAY "$program" "$@" >"$work/out" 2>"$work/err"
  local got=$?
  if [ "$got" != "$status" ]; then
    echo "FAIL $name: exit status $got, expected $status"; failures=$((failures + 1))
  fi
  if [ "$(cat "$work/out"; echo x)" != "$(printf '%s' "$out"; echo x)" ]; then
    echo "FAIL $name: standard output differs"; diff <(printf '%s' "$out") "$work/out" | head -20 | cut -c1-200
    failures=$((failures + 1))
  fi
  if [ "$(cat "$work/err"; echo x)" != "$(printf '%s' "$err"; echo x)" ]; then
    echo "FAIL $name: standard error differs"; diff <(printf '%s' "$err") "$work/err" | head -20 | cut -c1-200
    failures=$((failures + 1))
  fi
}

# Loading prints the run's first size, then a closing progress line per file.
voxels='voxels (4,4,2,3), res (1,1,1,0)
'
progress=$'\ra.bshort: 100 %\n'
summary=$voxels$progress
verbose_summary='magnitude data, short ints, voxels (4,4,2,3), res (1,1,1,0)
'
printf 'x 4\ny 4\nz 2\nt 3\n' >a.hdr
head -c $((4 * 4 * 2 * 3 * 2)) /dev/zero >a.bshort

usage=$("$program" -h; echo x)
usage=${usage%x}
invoked='Error: this program should be invoked as
   zorview <image file> [optional arguments]

'

expect "no arguments" 1 "$invoked$usage" "" --
expect "help" 0 "$usage" "" -- -h
expect "help menu" 0 "$usage" "" -- -H extra words
case "$usage" in
  "For help, quit and define the environment variable ZOR_HOME, and then re-start."$'\n') ;;
  *) echo "FAIL usage: without ZOR_HOME"; failures=$((failures + 1)) ;;
esac
# With the help files: the start-up page, and the menus ended by the end of input.
page=$(printf '\n'; cat "$ZOR_SOURCE_DIR/documentation/zorview-startup.txt"; echo x)
got=$(ZOR_HOME=$ZOR_SOURCE_DIR "$program" -h; echo x)
[ "$got" = "$page" ] || { echo "FAIL help: start-up page"; failures=$((failures + 1)); }
menu=$(ZOR_HOME=$ZOR_SOURCE_DIR "$program" -H </dev/null; echo "status $?")
case "$menu" in
  "Help from file $ZOR_SOURCE_DIR/documentation/zorview-menu.txt"*"help > "*"status 0") ;;
  *) echo "FAIL help menu: $menu" | head -5; failures=$((failures + 1)) ;;
esac

expect "one image" 1 "$summary$no_display" "" -- a.bshort
expect "verbose image" 1 "$verbose_summary$summary$no_display" "" -- -v a.bshort
expect "invalid option" 1 'Option -q not valid.
Program exiting.
' "" -- a.bshort -q
expect "lone dash" 1 'Option - not valid.
Program exiting.
' "" -- -
expect "upper M" 1 'Option -M not valid.
Program exiting.
' "" -- a.bshort -M 3
expect "colon" 1 'Valid option -- not yet programmed.
Program exiting.
' "" -- a.bshort -:
expect "no images" 1 'Error: no image files and no .zorview file
' "" -- -a a.bshort
expect "value missing at the end" 1 'Error: no image files and no .zorview file
' "" -- -i
expect "missing header" 1 "${voxels}Error: cannot open vistrel file b.hdr.
" "" -- a.bshort b.bshort
# Model control files are read as soon as their option is met.
expect "model -g" 1 'Error: cannot open the file control.txt.
' "" -- a.bshort -g control.txt
expect "model -t" 1 'Error: cannot open file control.txt containing the time model
' "" -- a.bshort -t control.txt
for m in -r -G -f; do
  expect "model $m" 1 'Error: cannot open the file control.txt.
' "" -- a.bshort $m control.txt
done

# Start-up files.
printf 'zorview a.bshort\nremember the blob in slice 4\n' >.vistrel
expect "vistrel" 1 "remember the blob in slice 4
$summary$no_display" "" --
expect "vistrel with flip" 1 "remember the blob in slice 4
$summary$no_display" "" -- -y
expect "vistrel ignored with arguments" 1 "$summary$no_display" "" -- a.bshort
rm .vistrel
printf 'zorview a.bshort\nfrom zorview\n' >.zorview
expect "zorview file" 1 "from zorview
$summary$no_display" "" --
expect "zorview file not read after a lone flip" 1 'Error: no image files and no .zorview file
' "" -- -y
printf 'zorview\n' >.vistrel
expect "vistrel without words leads to zorview" 1 "from zorview
$summary$no_display" "" --
rm .vistrel .zorview

# Many tokens and long tokens.
args=()
for i in $(seq 1 130); do args+=(a.bshort); done
expected=$voxels
for i in $(seq 1 130); do expected+=$progress; done
expect "130 tokens" 1 "$expected$no_display" "" -- "${args[@]}"
long=$(head -c 6000 /dev/zero | tr '\0' 'o')
# The region list is read before the windows open, so a missing one ends
# the run with its own message, the whole name in it.
expect "long overlay name" 1 "${summary}Error: cannot open the file $long.
" "" -- a.bshort -o "$long"
qlong=$(head -c 6000 /dev/zero | tr '\0' 'q')
expect "long invalid option" 1 "Option -$qlong not valid.
Program exiting.
" "" -- a.bshort "-$qlong"
expect "long image name" 1 "Error: the file name $long is too long.
" "" -- "$long"
{ printf 'zorview'; for i in $(seq 1 300); do printf ' a.bshort'; done; printf '\n'; } >.vistrel
# The first line is read up to 1023 characters: 112 whole words fit, the
# 113th is cut to "a.bshor" (an unknown extension, so a native file of
# unknown storage, whose data file is opened but nothing read from it), and
# the cut-off rest of the line is shown like a note.
: >a.bshor
line=$(head -1 .vistrel)
expected="${line:1023}
$voxels"
for i in $(seq 1 112); do expected+=$progress; done
expected+=$'\ra.bshor: 100 %\n'
expect "start-up line beyond the line limit" 1 "$expected$no_display" "" --
rm .vistrel

if [ "$failures" -ne 0 ]; then
  echo "$failures failure(s)"
  exit 1
fi
echo "all start-up checks passed"
