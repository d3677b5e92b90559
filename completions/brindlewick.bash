# bash completion for brindlewick
_brindlewick()
{
    local cur prev
    cur=${COMP_WORDS[COMP_CWORD]}
    prev=${COMP_WORDS[COMP_CWORD-1]}
    case $prev in
        --login)
            COMPREPLY=($(compgen -W 'on off' -- "$cur"))
            return ;;
        --search)
            return ;;
    esac
    local word
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [[ $word == --recognise || $word == --recognize ]]; then
            # Images, and folders on the way to them.
            compopt -o filenames 2>/dev/null
            COMPREPLY=($(compgen -f -X '!*.@(png|PNG|jpg|JPG|jpeg|JPEG|webp|WEBP|gif|GIF|bmp|BMP|tif|TIF|tiff|TIFF)' -- "$cur")
                       $(compgen -d -- "$cur"))
            return
        fi
    done
    if [[ $cur == -* || -z $cur ]]; then
        COMPREPLY=($(compgen -W '--help --version --toggle --search --json --null --recognise --login' -- "$cur"))
    fi
}
complete -F _brindlewick brindlewick
