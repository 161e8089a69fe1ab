# Sourced in the shell that the line is typed into, with the script to try: see complete.zsh.
autoload -Uz compinit
# Keeps what it found in $HOME, for the next time.
compinit -C
source $1
# Every match goes through this builtin. What only asks for matches (-O, -A, -D) is left alone.
compadd() {
  local -a found
  if [[ -z ${(M)@:#-(O|A|D)*} ]]; then
    builtin compadd -A found "$@"
    ((!$#found)) || print -rl -- $IPREFIX${^found} >> $results
  fi
  builtin compadd "$@"
}
complete-all() {
  _main_complete
  compstate[insert]= compstate[list]=
  : > $results.done
}
zle -C complete-all complete-word complete-all
bindkey '^I' complete-all
# With the next prompt.
zle-line-init() { : > $results.ready }
zle -N zle-line-init
