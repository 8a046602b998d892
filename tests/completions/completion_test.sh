# Calls the completions as bash does: completion_test.sh DIRECTORY IMLOG
PATH=${2%/*}:$PATH
for file in "$1"/*; do
  source "$file"
done
COMP_WORDBREAKS='='

# check LINE OFFERS: what is offered for the last word of a command line, which readline breaks at '=' or not.
check() {
  local rest=$1 breaks=$COMP_WORDBREAKS
  COMP_LINE=$1 COMP_WORDS=() COMPREPLY=()
  while [[ $rest =~ ^[[:blank:]]*(\'[^\']*\'?|${breaks:+$breaks|}[^[:blank:]$breaks]+) ]]; do
    COMP_WORDS+=("${BASH_REMATCH[1]}")
    rest=${rest#"${BASH_REMATCH[0]}"}
  done
  [[ -z $rest ]] || COMP_WORDS+=("")
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  "_${COMP_WORDS[0]}" "${COMP_WORDS[0]}"
  if [[ $(printf '%s\n' "${COMPREPLY[@]}" | sort) != "$(xargs -n 1 <<<"$2" | sort)" ]]; then
    echo "$1: offers ${COMPREPLY[*]}, not $2" >&2
    exit 1
  fi
}

formats=$(imlog -o help | xargs)
later='-v -t -f -p -i -a' timeouts='TIMEOUT=5 TIMEOUT=10 TIMEOUT=15 TIMEOUT=20 TIMEOUT=30'
while IFS='|' read -r line offers; do
  check "$line" "$offers"
done <<END
orvlog |-v -V -s -t -f -p -i -a
orvlog -v |$later
orvlog -t |-v -t -f -p -i
orvlog -s |INFO REPAIRED CAUTION CRITICAL
orvlog -s C|CAUTION CRITICAL
orvlog -s INFO |-l
orvlog -s INFO -l 'a = b' |$later
orvlog -a |STATUS ENABLE DISABLE $timeouts
orvlog -a T|$timeouts
orvlog -a TIMEOUT=|5 10 15 20 30
orvlog -a TIMEOUT=1|10 15
orvlog -a TIMEOUT=10 |$later
imlog -o |$formats
imlog --output=|$formats
imlog -f -p C|caution critical
imlog -S |now today yesterday -30m -12h -7d -2w
imlog --color=|auto always never
imlog --c|--class= --color= --cursor-file=
imlog -c Ma|"Machine\ Environment" "Main\ Memory" Maintenance
imlog -x 'main m|'Main Memory'
imlog --exclude=u|UPS Unknown "Unrecoverable\ System\ Error"
END
COMP_WORDBREAKS=''
check "imlog --output=p" "--output=prometheus"
check "orvlog -a TIMEOUT=1" "TIMEOUT=10 TIMEOUT=15"
check "orvlog -a TIMEOUT=10 -" "$later"
