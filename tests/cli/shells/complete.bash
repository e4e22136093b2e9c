# Prints what bash offers for each argument, a line, when TAB is pressed at its end.
source ./dds2csv.bash
for line; do
    read -ra COMP_WORDS <<<"$line"
    if [[ $line == *" " ]]; then COMP_WORDS+=(""); fi
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    _dds2csv
    echo "${COMPREPLY[@]}"
done
