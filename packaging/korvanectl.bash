# bash completion for korvanectl(1)

_korvanectl() {
    local word=${COMP_WORDS[COMP_CWORD]} command='' place=0 index
    local keys='printerName saveDirectoryPath notesEnabled notesFolder ippPort ippEverywhere'
    COMPREPLY=()
    for ((index = 1; index < COMP_CWORD; index++)); do
        case ${COMP_WORDS[index]} in
        -*) ;;
        *)
            if [ -z "$command" ]; then
                command=${COMP_WORDS[index]}
            else
                place=$((place + 1))
            fi
            ;;
        esac
    done
    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W '--json --help --version' -- "$word")
        return
    fi
    case $command in
    '') mapfile -t COMPREPLY < <(compgen -W 'status jobs documents get set' -- "$word") ;;
    get) ((place > 0)) || mapfile -t COMPREPLY < <(compgen -W "$keys" -- "$word") ;;
    set)
        if ((place % 2 == 0)); then
            mapfile -t COMPREPLY < <(compgen -W "$keys" -- "$word")
            return
        fi
        case ${COMP_WORDS[COMP_CWORD - 1]} in
        saveDirectoryPath)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -d -- "$word")
            ;;
        notesEnabled | ippEverywhere) mapfile -t COMPREPLY < <(compgen -W 'yes no' -- "$word") ;;
        esac
        ;;
    esac
}

complete -F _korvanectl korvanectl
