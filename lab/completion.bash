# Completion of marl-lab's command line for bash.

_marl_lab() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    local command=${COMP_WORDS[1]} words=""
    COMPREPLY=()
    case $before in
        --color) words="auto always never" ;;
        --deny) words="warnings" ;;
        --form) words="text markdown html" ;;
        --sort) words="self whole name" ;;
    esac
    if [ -z "$words" ]; then
        if [ "$COMP_CWORD" = 1 ]; then
            words="check format explain pack run test doc new serve repl debug steps profile code --help --version"
        elif [ "$command" = explain ]; then
            words="json --help $(marl-lab explain 2>/dev/null | sed -n 's/^  \([a-z_]*\).*/\1/p')"
        elif [[ $word == -* ]]; then
            case $command in
                check) words="--json --fix --deny --color --help" ;;
                format) words="--check --help" ;;
                pack) words="--output --help" ;;
                test) words="--seconds --help" ;;
                doc) words="--form --help" ;;
                debug) words="--input --dap --help" ;;
                steps) words="--from --count --until --only --why-z --full --output --color --help" ;;
                profile) words="--folded --sort --output --help" ;;
                code) words="--native --help" ;;
                *) words="--help" ;;
            esac
        fi
    fi
    if [ -n "$words" ]; then
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
    else
        mapfile -t COMPREPLY < <(compgen -f -X '!*.marl' -- "$word"; compgen -d -- "$word")
        compopt -o filenames 2>/dev/null
    fi
}

complete -F _marl_lab marl-lab
