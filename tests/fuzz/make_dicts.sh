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
dict help_files display/help_system.cpp
printf '%s\n' '"!0 0\x0a"' '"!1 0\x0a"' '"!1 1\x0a"' '"! 3 1\x0a"' '"> more.txt\x0a"' '"b\x0a"' '"q\x0a"' \
  >>"$out/help_files.dict"
dict result_tables display/common/roi_tables.cpp
printf '%s\n' '"\x0a"' '"\x00"' '"\x0d\x0a"' >>"$out/result_tables.dict"
dict gzip_volume util/volume_source.cpp util/nifti_header.cpp
printf '%s\n' '"\x1f\x8b\x08\x00"' '"\x03\x00"' '"n+1\x00"' >>"$out/gzip_volume.dict"
