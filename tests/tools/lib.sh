# What the tools' shell tests share (sourced): a work folder removed at the end, a
# failure with its reason, and the frame count of an MP4.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }
# The video frames of FILE (any name: it is read as a file).
video_frames() {
  ffprobe -v error -select_streams v:0 -count_frames -show_entries stream=nb_read_frames \
    -of csv=p=0 "file:$1"
}
