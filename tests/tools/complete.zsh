# What zsh completes: complete.zsh FOLDER, with the completion function in the folder. Types a line with tabs
# into a shell on a terminal of its own; the line runs a stand-in that shows its words.
zmodload zsh/zpty
export ZDOTDIR=$(mktemp -d)
trap 'rm -rf $ZDOTDIR' EXIT
cat >$ZDOTDIR/.zshrc <<END
fpath=($1 \$fpath)
autoload -Uz compinit && compinit -u -D
skylevel() { print -r "saw <\$*>" }
PS1='ready>'
END
zpty shell zsh -i
zpty -r -m shell seen '*ready>*'
zpty -w shell $'skylevel det\t--gr\tr\t--overlay-d\t'
zpty -r -m shell seen '*saw <*>*'
[[ $seen = *'saw <detect --gray rgb --overlay-dir>'* ]] || { print -r "$seen"; exit 1 }
