#!/usr/bin/env bash
# Writes tests/fuzz/dict/TARGET.dict: the quoted words of the sources each
# reader is built from, one libFuzzer dictionary entry a line, plus the
# separator "@@" of the targets that read more than one file.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
out=$root/tests/fuzz/dict
mkdir -p "$out"
dict() {
  local target=$1
  shift
  {
    echo '"\x0a@@\x0a"'
    (cd "$root" && grep -ho '"[A-Za-z][A-Za-z0-9_:.+-]*"' "$@" | sort -u)
    echo '" "'
    echo '"#"'
    echo '"-"'
    echo '","'
  } >"$out/$target.dict"
}
dict command_line display/command_options.cpp display/startup.cpp
dict startup_file display/command_options.cpp display/startup.cpp
dict native_header util/native_header.cpp util/file_names.cpp
dict freesurfer util/freesurfer_header.cpp
dict overlay_list util/list_files.cpp util/overlay_files.cpp
dict wire_list util/list_files.cpp util/wire_files.cpp
dict glm_control glm/glm_control_file.cpp glm/glm_events.cpp
dict glm_events glm/glm_events.cpp glm/glm_conditions.cpp
dict rem_control rem/rem_control_file.cpp
dict srtm_control srtm/srtm_control_file.cpp srtm/srtm_event_file.cpp
dict pet_files srtm/srtm_event_file.cpp srtm/srtm_table_file.cpp
dict fit_control fit/fit_control_file.cpp fit/fit_registration_file.cpp fit/fit_state.cpp
dict gradient_table fit/fit_gradient_table.cpp
dict registration_file fit/fit_registration_file.cpp
dict time_model util/time_model_file.cpp
dict pet_regions util/native_header.cpp srtm/srtm_regions.cpp
dict glm_roundtrip glm/glm_control_file.cpp glm/glm_events.cpp
dict wire_file util/wire_files.cpp
