# zsh -f complete.zsh SCRIPT LINE: what zsh completes the line to with the script, a line each. Completion works only in
# the line editor, so the line is typed into a shell on a pseudo-terminal; that writes the matches to a file.
zmodload zsh/zpty
results=$(mktemp)
zpty shell zsh -f -i
zpty -w shell "results=$results; source ${(q)0:A:h}/inner.zsh ${(q)1}"
# What follows the text is the key that the inner shell has bound.
until [[ -e $results.ready ]]; do zpty -r -t shell chunk || sleep 0.01; done
zpty -w -n shell "$2"$'\t'
until [[ -e $results.done ]]; do zpty -r -t shell chunk || sleep 0.01; done
sort -u $results
rm -f $results $results.ready $results.done
zpty -d shell
