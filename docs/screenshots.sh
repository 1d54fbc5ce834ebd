#!/usr/bin/env bash
# Makes the screenshots of the PIN, new-password and password-change dialogs
# in docs/, in English and in Russian, and of the message dialog, on a private
# Xvfb. Each dialog is asked through xvtui-ask, filled in by xvtui-drive with
# real key presses, photographed once drawn, and ended with its rightmost
# button (Cancel; OK in the message dialog).
# Usage: docs/screenshots.sh [build-dir]   (default: build)
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(cd "${1:-build}" && pwd)
docs=$(pwd)/docs
for tool in xvtui xvtui-ask xvtui-drive; do
    [ -x "$build/bin/$tool" ] || { echo "no $build/bin/$tool: build first" >&2; exit 1; }
done

work=$(mktemp -d)
xvfb_pid=""
ask_pid=""
cleanup() {
    if [ -n "$ask_pid" ]; then kill "$ask_pid" 2>/dev/null || true; wait "$ask_pid" 2>/dev/null || true; fi
    if [ -n "$xvfb_pid" ]; then kill "$xvfb_pid" 2>/dev/null || true; fi
    rm -rf "$work"
}
trap cleanup EXIT

source scripts/xvfb.sh
start_xvfb screenshots
export TORVIK_CATALOG_DIR="$build/share/torvik/nls"
export TORVIK_LOCALE_CATALOG_DIR="$build/share/torvik/nls/ru"
export TORVIK_LOCAL_CONFIG="$work/local.ini" TORVIK_GLOBAL_CONFIG="$work/global.ini"
export TORVIK_LOG="$work/xvtui.log"
# The tries-left texts are looked up through the system's catalogue search
# path first; point it at the build tree's catalogues by language, as an
# installed system's would be (a language without one falls back to English).
export NLSPATH="$build/share/torvik/nls/%l/%N"
# GDK then gives each button its own X window, which xvtui-drive clicks.
export GDK_NATIVE_WINDOWS=1

# shot FILE LOCALE REQUEST DRIVE-ACTIONS -- ASK-OPTIONS...
shot() {
    local file=$1 locale=$2 request=$3
    shift 3
    local actions=()
    while [ "$1" != "--" ]; do actions+=("$1"); shift; done
    shift
    LC_ALL=$locale LANG=$locale "$build/bin/xvtui-ask" "$request" "$@" >"$work/answer" &
    ask_pid=$!
    "$build/bin/xvtui-drive" --child-of "$ask_pid" "${actions[@]}" \
        --wait-paint --screenshot "$docs/$file" --click-button -1
    wait "$ask_pid" || true # cancelled: xvtui-ask reports it with status 1
    ask_pid=""
    echo "$docs/$file: $(head -n1 "$work/answer")"
}

shot new-password.png C.UTF-8 new-password \
    --type "secret" --key Tab --type "secre" -- \
    --title "New PIN" --header "Choose a PIN for the new key container." \
    --reader "Reader 0" --carrier "Token 4F2A1C" --container "signing-key-2026" \
    --term "PIN" --min-new 6 --max-new 16
shot new-password-ru.png ru_RU.UTF-8 new-password \
    --type "secret" --key Tab --type "secre" -- \
    --title "Новый PIN-код" --header "Задайте PIN-код для нового контейнера ключей." \
    --reader "Считыватель 0" --carrier "Токен 4F2A1C" --container "signing-key-2026" \
    --reader-caption "Считыватель:" --carrier-caption "Носитель:" --container-caption "Контейнер:" \
    --term "PIN-код" --min-new 6 --max-new 16
shot change-password.png C.UTF-8 change-password \
    --type "old-pin" --key Tab --type "abc" -- \
    --title "Change PIN" --header "Change the PIN of the key container." \
    --reader "Reader 0" --carrier "Token 4F2A1C" --container "signing-key-2026" \
    --term "PIN" --tries 2 --min 4 --min-new 6
shot change-password-ru.png ru_RU.UTF-8 change-password \
    --type "old-pin" --key Tab --type "abc" -- \
    --title "Смена PIN-кода" --header "Смените PIN-код контейнера ключей." \
    --reader "Считыватель 0" --carrier "Токен 4F2A1C" --container "signing-key-2026" \
    --reader-caption "Считыватель:" --carrier-caption "Носитель:" --container-caption "Контейнер:" \
    --term "PIN-код" --tries 2 --min 4 --min-new 6
shot pin.png C.UTF-8 pin \
    --type "12" -- \
    --title "PIN" --header "Enter the PIN of the key container." \
    --reader "Reader 0" --carrier "Token 4F2A1C" --container "signing-key-2026" \
    --term "PIN" --tries 2 --min 4 --save-box 7 --dont-cache-box 3
shot pin-ru.png ru_RU.UTF-8 pin \
    --type "12" -- \
    --title "PIN-код" --header "Введите PIN-код контейнера ключей." \
    --reader "Считыватель 0" --carrier "Токен 4F2A1C" --container "signing-key-2026" \
    --reader-caption "Считыватель:" --carrier-caption "Носитель:" --container-caption "Контейнер:" \
    --term "PIN-код" --tries 2 --min 4 --save-box 7 --dont-cache-box 3
shot message.png C.UTF-8 message -- \
    --flags 130 "Old keys were found on this key carrier. They still work, but should be replaced soon."
shot message-ru.png ru_RU.UTF-8 message -- \
    --flags 130 "На этом носителе найдены старые ключи. Они ещё действуют, но их следует заменить."
# The random-data dialog, served by xvtui-ask: 24 moves to the right gather a
# third of 60 units, so the bar has moved and a right move is asked for.
moves=()
for i in $(seq 1 24); do moves+=(--move "$((120 + i * 8)),$((150 + i % 2))"); done
shot random.png C.UTF-8 random "${moves[@]}" -- --units 60
shot random-ru.png ru_RU.UTF-8 random "${moves[@]}" -- --units 60
# The reader selection as it opens: the first reader and its first applet
# type chosen.
shot reader.png C.UTF-8 reader -- \
    --prompt "Select the reader for the new key container" \
    --reader "Token 4F2A1C" --applet "FKN:Functional key carrier: the keys never leave the token, signatures are made on it." \
    --applet "PKCS:Keys stored as PKCS#11 objects." \
    --reader "Reader 0" --applet "PKCS:Keys stored as PKCS#11 objects."
shot reader-ru.png ru_RU.UTF-8 reader -- \
    --prompt "Выберите считыватель для нового контейнера ключей" \
    --reader "Токен 4F2A1C" --applet "ФКН:Функциональный ключевой носитель: ключи не покидают токен, подпись вычисляется на нём." \
    --applet "PKCS:Ключи хранятся как объекты PKCS#11." \
    --reader "Считыватель 0" --applet "PKCS:Ключи хранятся как объекты PKCS#11."
shot reader-empty.png C.UTF-8 raw -- VTSelectReader ""
# The container selection as it opens: friendly names shown, the first row chosen.
shot container.png C.UTF-8 container -- \
    --item "Signing key 2026" "6b1f0e2a-5c3d-4e8f-9a71-2d4c6e8f0a1b" '\\.\HDIMAGE\signing-2026' \
    --item "Encryption key" "0c9d8e7f-6a5b-4c3d-2e1f-0a9b8c7d6e5f" '\\.\HDIMAGE\encrypt' \
    --item "Token key 4F2A1C" "a1b2c3d4-e5f6-4a7b-8c9d-0e1f2a3b4c5d" '\\.\FKN_4F2A1C\token-key' \
    --item "Archive 2019" "11111111-2222-4333-8444-555555555555" '\\.\FLASH\archive-2019'
shot container-ru.png ru_RU.UTF-8 container -- \
    --item "Ключ подписи 2026" "6b1f0e2a-5c3d-4e8f-9a71-2d4c6e8f0a1b" '\\.\HDIMAGE\signing-2026' \
    --item "Ключ шифрования" "0c9d8e7f-6a5b-4c3d-2e1f-0a9b8c7d6e5f" '\\.\HDIMAGE\encrypt' \
    --item "Ключ на токене 4F2A1C" "a1b2c3d4-e5f6-4a7b-8c9d-0e1f2a3b4c5d" '\\.\FKN_4F2A1C\token-key' \
    --item "Архив 2019" "11111111-2222-4333-8444-555555555555" '\\.\FLASH\archive-2019'
