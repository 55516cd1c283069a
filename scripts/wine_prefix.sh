# Sourced: chooses the Wine prefix that the windows lane runs in, outside of the tree, and makes it when it is new.
export WINEPREFIX=${WINEPREFIX:-${XDG_CACHE_HOME:-$HOME/.cache}/custom-bidi/wine}
export WINEDEBUG=${WINEDEBUG:--all}
if [ ! -e "$WINEPREFIX/system.reg" ]; then
  echo "Making a Wine prefix in $WINEPREFIX (about 20 seconds)"
  mkdir -p "$(dirname "$WINEPREFIX")"
  # No window is ever shown, and neither Mono nor Gecko is needed.
  DISPLAY= WINEDLLOVERRIDES="mscoree,mshtml=" wine wineboot -i >/dev/null 2>&1
fi
