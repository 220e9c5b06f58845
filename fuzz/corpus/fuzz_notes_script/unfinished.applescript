tell application "Notes"
if exists folder "