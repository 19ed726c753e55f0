#!/bin/bash
# Drives the built host as a user would: host_test.sh SOURCE IMGCTL, where IMGCTL may be a command of
# several words, an emulator before it: such a build asks no other machine. The tables hold shell patterns.
source=$1 imgctl=("${@:2}") failures=0
work=$(mktemp -d) && trap 'rm -rf "$work"' EXIT
tree() { rm -rf "${work:?}/$1" && cp -r "$source/device" "$work/$1"; }
# run TREE ARGUMENT...; further lines of an answer never start with a small letter
run() {
    "${imgctl[@]}" --device "$work/$1" --speed 50 "${@:2}" >"$work/out" 2>"$work/err"; status=$?
    grep -aE '^[a-z-]+( |$)' "$work/out" >"$work/answers"
}
expect() { # WHAT GOT PATTERN
    [[ $2 == $3 ]] || { failures=$((failures + 1)); printf '%s: got "%s", expected "%s"\n' "$@" >&2; }
}
oneline() { tr '\n' ';' <"$1"; }
scheme_files() { cat "$work/main/mnt/mtd/code/config_file/"*.cfg | cksum; }

tree main # a script through every command: command | answer
keys=$(awk -F'|' '/^\| [0-9]/ && NF == 8' "$source/docs/keys.md" | wc -l)
sed "s|WORK|$work|;s|KEYS|$keys|" >"$work/table" <<'END'
mode 0|mode 0
scheme 0|scheme 0
set scheme-end-hour=24 (Contrast,99)|set done
set (34,60)(2337,55)|set done
apply brightness=70|apply done
get (2337,KEY_BRIGHTNESS)|get (2337,55)(34,70)
restore brightness|restore done
restore-ae|restore-ae done
flush|flush done
set brightness=61|set done
diff|diff scheme=0 file=1 factory=*
reload|reload done
limit brightness 50 40,50,61|limit 34 50 40,50,61
all|all (8000,1)(8001,0)(8002,0)(8003,24)(8004,0)(34,61)(2337,55)(2353,99)*
unlimit 34|unlimit 34
compliance brightness|compliance 34 KEY_BRIGHTNESS ok
light 5|light 5
day-night|day-night 1
fail 153 -1 1|fail 153 -1 1
status|status scheme=0 mode=0 schemes=4 * day-night=- device-type=1 *
version|version ?*
lens zoom-in|lens zoom-in done
zoom 24576|zoom position=* ratio=* moving=*
wait 20|wait 20
zoom|zoom position=24576 ratio=2000 moving=0
focus-mode 1|focus-mode 1
focus 300|focus position=*
ptz 0|ptz 0
af|af [0-9]*
wdr|wdr mode=0 allowed=1
mirror|mirror 0
keys|keys KEYS
set expose_mode=manual,max_shutter=1/25 mirror=off --save|set done
set brightness=90 --dry-run|set done
get brightness|get (34,61)
try 3600 contrast=7|try done
get contrast|get (2353,7)
drop|drop done
get contrast|get (2353,99)
try 3600 contrast=8|try done
keep|keep done
undo|undo done
get contrast|get (2353,99)
history 3|history 3
window 2 08:00-09:00|window 2 08:00-09:00
window 0 18:00-06:00 --with 1|window 0 18:00-24:00
name 1 Morning|name 1 Morning
name 1|name 1 Morning
schemes|schemes 5 mode=0
compare 0 2|compare 0 2 [1-9]*
copy 0 2|copy 0 2 changed=[1-9]*
diff 0 2|diff 0 2 [1-9]*
save|save 0, 1, 2
plan|plan hours=24 *
explain contrast|explain contrast 99
explain dark|explain dark
window 0 00:00-24:00|window 0 00:00-24:00
window 1 off|window 1 00:00-06:00 off
save|save 0, 1
keys shutter|keys [1-9]*
watch 1|watch from [1-9]*
snapshot WORK/picture.jpg|snapshot * 640x360
style|style [1-9]*
common 77|common 77 [1-9]*
export WORK/exported|export *
reset|reset done
import WORK/exported|import * changed=[1-9]*
wait 15|wait 15
get brightness|get (34,61)
language 1|language 1 [1-9]*
help|help *
quit|quit
END
cut -d'|' -f1 "$work/table" >"$work/script"
run main <"$work/script"; expect 'status of the script' "$status $(<"$work/err")" '0 '
while IFS='|' read -r command answer <&3; do
    IFS= read -r got <&4; expect "$command" "$got" "$answer"
done 3<"$work/table" 4<"$work/answers"
expect 'commands of the help' "$(sed -n '/^help/,$s/^  \([a-z-]*\) .*/\1/p' "$work/out" | sort | xargs)" \
    "$(cut -d' ' -f1 "$work/script" | sort -u | xargs)"
mkdir "$work/exports" && ln -s "$work/again" "$work/exports/link"
touch "$work/exports/.~notes.1.2" "$work/.~notes.1.2" "$work/again" # whoever's they are
run main -c 'mode 0' -c 'scheme 0' -c 'get brightness' -c "export $work/exports/link" -c 'keys --json'
expect 'after a restart' "$(oneline "$work/answers")$(grep -o '"symbol":' "$work/out" | wc -l)" "*get (34,61);*;$keys"
cmp "$work/exported" "$work/again" || failures=1
expect 'files beside an export' "$(cd "$work" && ls -d .[!.]* exports/* exports/.[!.]* | xargs)" \
    '.~notes.1.2 exports/.~notes.1.2 exports/link'

# What is set in the layer and told to the video module, each value once; reads are left out
late=1 between= # in an emulator the camera finds time to look, and to send again, before the last one
[ ${#imgctl[@]} = 1 ] || { late=9 between='*'; }
run main --trace "$work/trace" -c 'mode 0' -c 'scheme 0' -c 'set (34,62)' -c 'set (34,62)' \
    -c 'set mirror=1' -c 'set (146,30)' -c day-night -c "fail 34 -4 $late" -c 'set (34,63)'
grep -Ev '^ia [0-9]+ [12] ' "$work/trace" >"$work/sets"
expect 'trace' "$(oneline "$work/sets")" "*;ia 34 0 62 62 0;video 2384 1 0;ia 2384 0 1 1 0;$(
    )ia 146 0 20,30 20,30 0;${between}ia 34 0 63 63 -4;$between"

while IFS='|' read -r arguments commands answer; do # device types and clock, each on a new camera
    tree typed; eval "run typed $arguments" <<<"${commands//, /$'\n'}"
    expect "$arguments $commands" "$status $(oneline "$work/answers")" "0 *$answer;"
    expect "reports with $arguments" "$(grep -a 'sensor assert' "$work/out")" ''
done <<'END'
--device-type 4|style, status|status * schemes=2 *device-type=4 *
--device-type 9|status|status *device-type=9 *
--device-type 8|scheme, light 0, wait 15, scheme, light 90, wait 15, scheme|scheme 0;*;scheme 1;*;scheme 0
--device-type 8 --detail '(max_scheme=2)(isInfrared=1)'|mode 0, scheme 0, set (8000,0), mode 1, light 0, wait 15, scheme|;scheme 2
END

for minute in 59 50 30; do # a window comes; a machine too slow to look before it does gets more time
    tree typed
    run typed --clock "07:$minute" -c 'mode 0' -c 'scheme 0' -c 'set (8001,8)(8003,9)' -c 'mode 1' -c 'wait 2' \
        -c scheme -c status -c "wait $(((60 - minute) * 60 + 20))" -c scheme
    grep -q 'time=07' "$work/answers" && break
done
expect 'a window at 08:00' "$(oneline "$work/answers")" '*;scheme 4;status *time=07:*;scheme 0;'

# A flash that became read-only keeps what was saved, which a reset must not hide
tree locked && run locked -c 'mode 0' -c 'scheme 0' -c 'set (34,62)' -c flush
chmod a-w "$work/locked/mnt/mtd/code/config_file"
bound=("${imgctl[@]}") # root may write everywhere but for this
[ "$(id -u)" != 0 ] || imgctl=(setpriv --bounding-set=-dac_override --inh-caps=-dac_override "${bound[@]}")
run locked -c reset -c 'get (34)'
imgctl=("${bound[@]}")
chmod u+w "$work/locked/mnt/mtd/code/config_file"
expect 'reset of a read-only tree' "$status $(grep -a ^imgctl "$work/err") $(oneline "$work/answers")" \
    '1 *sensor0.cfg could not be removed; *reset failed;get (34,62);'

before=$(scheme_files)
printf '[scheme 0]\nKEY_CONTRAST = 1\nbrightnes = 1\n[scheme 9]\nsaturation = 256\n' >"$work/wrong"
while IFS='|' read -r arguments message; do # errors: arguments | exit status and message
    [[ $arguments != --connect* || ${#imgctl[@]} = 1 ]] || continue
    eval "run main ${arguments//WORK/$work}" </dev/null
    expect "$arguments" "$status $(oneline "$work/err")" "$message*"
done <<'END'
--devise x|2 *did you mean '--device'?
--device-type 5|2 *allowed: 1 *, 4 *, 8 *, 9 
-c 'stat' -c 'mode 1'|2 *did you mean 'status'?
-c 'set brigtness=1'|3 *did you mean 'brightness'?
-c 'set (34,60'|2 *allowed: (KEY,VALUE) or KEY=VALUE
-c 'set (34,256)' -c 'wait x'|3 *Brightness takes 0..255; 256 was refused. * stays in force.*wait: 'x' is no number
-c 'mode 0' -c 'scheme 1' -c 'set (8003,0)' -c flush|3 *does not start before it ends (507)
-c 'fail 34 -1' -c 'compliance 34'|1 
-c $'st\e\302\233\233\342\206\222'|2 *no command 'st\\x1b\\x9b\\x9b→'*
--device $'no\e\302\233\233'|1 *'no\\x1b\\x9b\\x9b' does not exist; --make-device *
--trace /dev/full -c status|1 *'/dev/full' could not be written
window 0 22:00-06:00|3 *needs two schemes*nothing is changed
window 9 00:00-06:00|3 *no scheme '9'
try 1 start_hour=3|3 *a time window is not applied
-c 'apply contrast=9,start_hour=3'|0 *not tried: a time window is not applied
get brigtness|3 *did you mean 'brightness'?
fail brigtness -1|3 *did you mean 'brightness'?
limit brigtness 1 1|3 *did you mean 'brightness'?
compliance brigtness|3 *did you mean 'brightness'?
copy 0 9|3 *no scheme '9'
copy 0 x|3 *no scheme 'x'
save x|3 *no scheme 'x'
save 9|3 *no scheme '9'
undo|3 *nothing that was asked for is left to take back
undo --entry x|2 *the number of no change; *
keep|3 *nothing is on trial
--device nowhere statsu|2 *did you mean 'status'?*
--device nowhere help try|0 
keys --jsn|2 *no option '--jsn'; did you mean '--json'?; usage: keys *
set contrast=1 --sav|2 *did you mean '--save'?*
status -x|2 *no option '-x'; usage: status *
diff nothing|2 *allowed: saved, factory, or two schemes
plan x|2 *is no number of hours; allowed: 1 .. 168
history 0|2 *is no number of changes; allowed: 1 .. 1000
scheme 1/2|3 *no scheme '1/2'
-c 'mode 0' -c 'scheme 0' -c 'fail 34 -9 1' -c 'set contrast=1,brightness=44,saturation=3'|1 *the layer failed (code -9)*Saturation was not tried.
--connect ftp://x status|2 *is no address
--connect http://a:b@x status|2 *holds no name, no password
--connect http://127.0.0.1:1 status|1 *does not answer
--device-type 4 status|1 *belong to another camera: they were saved for device type 1, this is device type 4; --convert carries over
-c 'import WORK/wrong'|3 *line 3: *brightness*line 4: *line 5: *0..255*nothing is changed
END
expect 'files after refused commands' "$(scheme_files)" "$before"
run main undo --json; expect 'undo --json' "$status $(<"$work/out")" '3 {*"code":"nothing"*}'
while IFS='|' read -r line words; do # what completes without a camera
    run main --complete "$line"; expect "completing '$line'" "$(xargs <"$work/out")" "$words"
done <<'END'
expl|explain
explain da|dark
explain brightn|brightness
set --|--dry-run --json --save --scheme
set contrast=1 --d|--dry-run
window 1 o|off on
help unl|unlimit
scheme |
END
printf '# remark\n\n  get 34\0\n%0100000d\nmode 0\nscheme 2' 1 >"$work/odd"
run main <"$work/odd"; expect 'odd lines' "$status $(oneline "$work/answers")" '2 mode 0;scheme 2;'

# A folder that is none becomes a device tree when that is asked for
mkdir "$work/empty"
run empty get brightness; expect 'no tree' "$status $(<"$work/err")" '1 *has no folder hd1; --make-device *'
run empty --make-device -c 'scheme 0' -c 'set expose_mode=manual max_shutter=1/25 --save' -c keys
expect 'made tree' "$status $(oneline "$work/answers")$(<"$work/err")" '0 *set done;keys [5-9][0-9];'
run empty get max_shutter; expect 'kept there' "$status $(<"$work/out")" '0 get (49,3)'

# What was saved for another kind of camera is carried over by key, when that is asked for: there and
# back; with a style that is broken it is not even then
for style in '' '<'; do
    rm -rf "$work/broken" && cp -r "$work/main" "$work/broken"
    style_file=$work/broken/hd1/moduleConfig/sensorConfig/style/Style_dome.xml
    if [ -n "$style" ]; then echo "$style" >"$style_file"; else rm "$style_file"; fi
    run broken --device-type 4 --convert status
    expect "broken by '$style'" "$status $(<"$work/err")" '1 *not whole*/Style_dome.xml is *'
    diff -rq "$work/main" "$work/broken" | grep -v Style_dome.xml && failures=1
done
folder=$work/main/mnt/mtd/code/config_file
for ending in before before2; do
    mkdir "$work/was.$ending" && cp "$folder"/sensor?.cfg "$work/was.$ending"
    run main --device-type "$([ $ending = before ] && echo 4 || echo 1)" --convert -c 'mode 0' -c 'scheme 0' -c 'get brightness'
    expect 'converted' "$status $(oneline "$work/answers")$(<"$work/err")" \
        "0 *get (34,61);imgctl: carried over * are kept as sensor0.cfg.$ending, sensor1.cfg.$ending*"
    for file in "$work/was.$ending"/*; do cmp "$file" "$folder/${file##*/}.$ending" || failures=1; done
done
run main --device-type 4 --convert get brightness
run main --device-type 4 get brightness; expect 'after a conversion' "$status $(<"$work/err")" '0 '

# Other ranges matter where a saved value no longer fits, and what is broken is named with its place
run main -c 'mode 0' -c 'scheme 0' -c 'set contrast=12 --save'
config=$work/main/hd1/moduleConfig/sensorConfig
for most in 120 98 255; do # another scheme has 99
    sed -i "/name=\"contrast\"/s/max=\"[0-9]*\"/max=\"$most\"/" "$config/style/Style_dome.xml"
    run main get contrast; expect "contrast up to $most" "$status $(oneline "$work/answers")$(<"$work/err")" "$(
        [ $most = 98 ] && echo '1 *: contrast is saved as 99, this style takes 0..98; --convert *' ||
            echo '0 get (2353,12);')"
done
# What the sensor takes beyond its style is nobody else's
run main -c 'set max_shutter=39 --save'
run main get max_shutter; expect 'beyond the style' "$status $(oneline "$work/answers")" '0 get (49,39);'
rm -rf "$work/broken" && cp -r "$work/main" "$work/broken"
rm "$work/broken/hd1/moduleConfig/sensorConfig/language/1/common.xml"
run broken get contrast; expect 'missing' "$status $(<"$work/err")" '0 imgctl: /*/broken/hd1/*/1/common.xml is missing*'
echo '<' >"$work/broken/hd1/moduleConfig/moduleConfig.xml"
run broken get contrast; expect 'broken' "$status $(<"$work/err")" '1 *not whole*module 3*/moduleConfig.xml is no XML*'

# Reports go to standard error without colours, and more of them hold for one run
run main --debug-level 6 set contrast=12
expect 'reports' "$(grep -c . "$work/out") $(grep -c $'\e' "$work/err") $(grep -c . "$work/err")" '2 0 [1-9]*'
run main get contrast; expect 'reports of the next run' "$(<"$work/err")" ''

# No text of the device tree reaches a terminal's controls, and a signal leaves the terminal as it was
tree odd
printf 'a\e\302\233\233\n\t\303\233\r\n' >"$work/odd/hd1/moduleConfig/sensorConfig/language/0/language.xml"
run odd --detail $'(x\e\302\233\233)' -c 'language 0' -c status
expect 'controls' "$(<"$work/out")" $'language 0 13\na\\\\x1b\\\\x9b\357\277\275\n\t\303\233\r\nstatus *"(x\\\\u001b\\\\u009b\357\277\275)" *'
cat >"$work/terminal" <<'SCRIPT'
stty -g >before
"$@" --device odd --speed 50 </dev/tty & pid=$!
for tries in $(seq 1000); do [ "$(stty -g)" = "$(<before)" ] && kill -0 $pid || break; sleep 0.01; done
kill -s "$SIGNAL" $pid
wait $pid; echo $? $((tries < 1000)) $([ "$(stty -g)" = "$(<before)" ] && echo same) >after
SCRIPT
for signal in TERM HUP; do
    (cd "$work" && SIGNAL=$signal script -qec "$(printf '%q ' bash terminal "${imgctl[@]}")" /dev/null) \
        </dev/null >/dev/null
    expect "terminal after SIG$signal" "$(<"$work/after")" "$((128 + $(kill -l $signal))) 1 same"
done

# At the prompt Tab completes keys and choices, and the next session has the lines of this one
tree typed
export XDG_STATE_HOME=$work/state
for keys in $'get brightn\t\nset expose_mode=ma\t\nquit\n' $'\e[A\e[A\nquit\n'; do
    mkfifo "$work/keys"
    script -qec "$(printf '%q ' "${imgctl[@]}" --device "$work/typed" --speed 50)" /dev/null \
        <"$work/keys" >"$work/screen" &
    exec 9>"$work/keys"
    for tries in $(seq 1000); do grep -q 'imgctl> ' "$work/screen" && break; sleep 0.02; done
    printf %s "$keys" >&9
    wait $!; exec 9>&-; rm "$work/keys"
    tr '\r' '\n' <"$work/screen" | grep -aE '^(get|set|  [A-Z])' | tr '\n' ' ' >>"$work/screens"
done
expect 'two sessions' "$(<"$work/screens")" \
    'get (34,[0-9]*) set done   Exposure mode is Manual now. set done   Exposure mode is Manual now. '

# The same answers and exit statuses whoever runs the camera
daemon=$(dirname "${imgctl[-1]}")/imgctld
if [ ${#imgctl[@]} = 1 ] && [ -x "$daemon" ]; then
    tree served
    "$daemon" --device "$work/served" --listen 127.0.0.1:0 >"$work/daemon" 2>&1 & pid=$!
    for tries in $(seq 1000); do grep -q serving "$work/daemon" && break; sleep 0.02; done
    url=$(sed -n 's|.*serving at \(.*\)/$|\1|p' "$work/daemon")
    for where in "--device $work/served" "--connect $url"; do
        while IFS='|' read -r command answer; do
            $imgctl $where -c "${command/WORK/$work}" >"$work/out" 2>"$work/err" </dev/null; status=$?
            expect "$command $where" "$status $(cat "$work/out" "$work/err" | tr '\n' ';')" "$answer"
        done <<'COMMANDS'
mode manual|0 mode 0;
scheme 0|0 scheme 0;
set contrast=41|0 set done;  Contrast is 41 *;
get Contrast|0 get (2353,41);
set contrast=41 Exposure mode=Shutter priority  mirror=off, Longest shutter=1/25|0 set done;*mode is Shutter priority *;*shutter is 1/25 *
set Exposure mode=automatic|0 set done;  Exposure mode is Automatic now.;
set mirror=off Exposure mode=manual|3 *'off Exposure'*
set contrast=41 mirror|2 *'mirror' gives no key a value*
set contrast=999|3 set rejected;imgctl: set: Contrast takes 0..255; 999 was refused. 41 stays in force.;
try 3600 contrast=42|0 try done;  Contrast is 42 on trial; it is not recorded.;  On trial for 3600 *;
drop|0 drop done;
explain contrast --json|0 {"key":2353,*};
export -|0 *[[]scheme 0[]]*;
get nothing at all|3 *no key 'nothing'*
get Day/night mode|0 get (144,*);
explain Day/night mode|0 explain dn-mode *
compare 0 0|0 compare 0 0 0;  A switch from 0 to 0 sends nothing.;
flush 4 --json|0 {*"saved":[[]],"failed":[[]],*"text":"the default scheme is never saved"*};
all|0 all (8000,*;
wdr 0|0 wdr mode=0 allowed=0;
wdr 0 --json|0 {*"symbol":"KEY_WDR_MODE"*};
light 50|0 light 50;
snapshot WORK/picture.jpg|0 snapshot * 640x360;
try 30 contrast=7|0 try done;*
drop|0 drop done;*
undo|0 undo done;*
window 0 7|2 *
wait 1|3 *another program runs this camera*
COMMANDS
    done
    kill $pid; wait $pid
fi

for name in one three; do # two cameras at once
    tree $name; "${imgctl[@]}" --device "$work/$name" --speed 50 -c 'mode 0' -c 'scheme 0' \
        -c "set contrast=${#name}" -c 'wait 20' -c 'get contrast' >"$work/$name.out" 2>/dev/null &
done
wait
expect 'two at once' "$(tail -qn 1 "$work/one.out" "$work/three.out" | xargs)" 'get (2353,3) get (2353,5)'
exit $((failures > 0))
