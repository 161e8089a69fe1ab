# bash complete.bash SCRIPT WORD…: what the script completes the last word to, a line each, as Readline would ask for it:
# the words are cut at = already. "<compopt OPTION>" stands for what the script tells Readline besides.
source "$1"
shift
compopt() { echo "<compopt $2>"; }
COMP_WORDBREAKS=${COMP_WORDBREAKS_GIVEN-$' \t\n"\'><=;|&(:'}
COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
# complete -p: "complete -F _function pyrelux"
read -r _ _ function _ < <(complete -p pyrelux)
"$function" pyrelux "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
((!${#COMPREPLY[@]})) || printf '%s\n' "${COMPREPLY[@]}"
