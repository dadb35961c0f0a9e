# Runs tessiva-convert the way a user does and checks what it writes.
#   cmake -DMODE=roundtrip|pipe|structure|fields|arguments|files|ffmpeg -DTOOL=<exe>
#         -DCHECK=<exe> [-DEMULATOR=<runner>] [-DFFMPEG=<ffmpeg>] -DWORK=<dir>
#         -P tool_test.cmake
# Files are named relative to WORK, which is also the working directory.
# Standard output and error go to files, never to pipes: under Wine a pipe stays
# open until the helper processes that wine starts have gone, seconds later.
cmake_minimum_required(VERSION 3.20)
file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}")

# tool(args...): runs the tool; TOOL_RC, TOOL_OUT and TOOL_ERR are set.
macro(tool)
  execute_process(COMMAND ${EMULATOR} "${TOOL}" ${ARGN} WORKING_DIRECTORY "${WORK}"
    RESULT_VARIABLE TOOL_RC OUTPUT_FILE "${WORK}/tool.out" ERROR_FILE "${WORK}/tool.err")
  file(READ "${WORK}/tool.out" TOOL_OUT)
  file(READ "${WORK}/tool.err" TOOL_ERR)
endmacro()

function(tool_ok)
  tool(${ARGN})
  if(NOT TOOL_RC STREQUAL "0")
    message(FATAL_ERROR "tessiva-convert ${ARGN}\nexited with ${TOOL_RC}:\n${TOOL_ERR}")
  endif()
  set(TOOL_ERR "${TOOL_ERR}" PARENT_SCOPE)
  set(TOOL_OUT "${TOOL_OUT}" PARENT_SCOPE)
endfunction()

# tool_fails(status pattern args...): the tool must exit with `status` and say
# something matching `pattern` on standard error, after its own name.
function(tool_fails status pattern)
  tool(${ARGN})
  if(NOT TOOL_RC STREQUAL "${status}")
    message(FATAL_ERROR "tessiva-convert ${ARGN}\nexited with ${TOOL_RC}, expected ${status}:\n${TOOL_ERR}")
  endif()
  if(NOT TOOL_ERR MATCHES "tessiva-convert: [^\n]*${pattern}")
    message(FATAL_ERROR "tessiva-convert ${ARGN}\nsaid:\n${TOOL_ERR}\nexpected a message matching: ${pattern}")
  endif()
endfunction()

function(check)
  execute_process(COMMAND ${EMULATOR} "${CHECK}" ${ARGN} WORKING_DIRECTORY "${WORK}"
    RESULT_VARIABLE rc OUTPUT_FILE "${WORK}/check.out" ERROR_FILE "${WORK}/check.err")
  if(NOT rc STREQUAL "0")
    file(READ "${WORK}/check.out" out)
    file(READ "${WORK}/check.err" err)
    message(FATAL_ERROR "check ${ARGN} failed (${rc}):\n${out}${err}")
  endif()
endfunction()

function(expect_size file bytes)
  file(SIZE "${WORK}/${file}" size)
  if(NOT size EQUAL bytes)
    message(FATAL_ERROR "${file} holds ${size} bytes, expected ${bytes}")
  endif()
endfunction()

function(expect_missing file)
  if(EXISTS "${WORK}/${file}")
    message(FATAL_ERROR "${file} exists")
  endif()
endfunction()

# No temporary file is left in WORK (they are named ".NAME.*").
function(expect_no_leftovers)
  file(GLOB left LIST_DIRECTORIES false "${WORK}/.*")
  if(left)
    message(FATAL_ERROR "left behind: ${left}")
  endif()
endfunction()

function(expect_same a b)
  execute_process(COMMAND "${CMAKE_COMMAND}" -E compare_files "${WORK}/${a}" "${WORK}/${b}" RESULT_VARIABLE rc)
  if(NOT rc STREQUAL "0")
    message(FATAL_ERROR "${a} and ${b} differ")
  endif()
endfunction()

# tool_route(pattern args...): --verbose must describe the steps as `pattern`.
function(tool_route pattern)
  tool_ok(--verbose -y ${ARGN})
  if(NOT TOOL_ERR MATCHES "${pattern}")
    message(FATAL_ERROR "tessiva-convert ${ARGN}\nreported:\n${TOOL_ERR}\nexpected: ${pattern}")
  endif()
endfunction()

if(MODE STREQUAL "roundtrip")
  # The default card (1920x1080) as RGB32, to YUV32 and back, with the PNG of
  # the YUV32 frame, which the library turns back into the same RGB32.
  tool_ok(card.rgb32)
  check(card card.rgb32 1920 1080)
  tool_ok(--to yuv32 card.yuv32 --png card.png)
  check(yuv32 card.yuv32 1920 1080)
  tool_ok(--from yuv32 --size 1920x1080 --to rgb32 card.yuv32 back.rgb32)
  check(rgb32 back.rgb32 1920 1080)
  check(png card.png 1920 1080 back.rgb32)
  # Mirrored on the way in (slot 10) and again on the way out (slot 11).
  tool_ok(--invert --to yuv32 flip.yuv32)
  check(yuv32 flip.yuv32 1920 1080 invert)
  tool_ok(--invert --from yuv32 --size 1920x1080 --to rgb32 flip.yuv32 flipback.rgb32)
  expect_same(flipback.rgb32 back.rgb32)

elseif(MODE STREQUAL "pipe")
  # Standard input to standard output twice over, one tool feeding the next.
  tool_ok(card.rgb32)
  execute_process(
    COMMAND ${EMULATOR} "${TOOL}" --from rgb32 --size 1920x1080 --to yuv32 - -
    COMMAND ${EMULATOR} "${TOOL}" --from yuv32 --size 1920x1080 --to rgb32 - -
    WORKING_DIRECTORY "${WORK}" INPUT_FILE "${WORK}/card.rgb32" OUTPUT_FILE "${WORK}/pipe.rgb32"
    RESULTS_VARIABLE rcs ERROR_FILE "${WORK}/pipe.err")
  if(NOT rcs STREQUAL "0;0")
    file(READ "${WORK}/pipe.err" err)
    message(FATAL_ERROR "the pipe exited with ${rcs}:\n${err}")
  endif()
  check(rgb32 pipe.rgb32 1920 1080)
  # A PNG on standard output.
  execute_process(COMMAND ${EMULATOR} "${TOOL}" --size 64x48 --png -
    WORKING_DIRECTORY "${WORK}" OUTPUT_FILE "${WORK}/stdout.png" RESULT_VARIABLE rc ERROR_FILE "${WORK}/png.err")
  if(NOT rc STREQUAL "0")
    file(READ "${WORK}/png.err" err)
    message(FATAL_ERROR "--png - exited with ${rc}:\n${err}")
  endif()
  tool_ok(--size 64x48 --png file.png)
  expect_same(stdout.png file.png)

elseif(MODE STREQUAL "structure")
  # Frame sizes of every output format, plain and mirrored, two frames each.
  set(w 64)
  set(h 48)
  math(EXPR area "${w} * ${h}")
  math(EXPR half "${area} + ${area} / 2")
  math(EXPR rgb32 "${area} * 4")
  math(EXPR rgb24 "${area} * 3")
  math(EXPR yuy2 "${area} * 2")
  set(yuv32 ${rgb32})
  set(yv12 ${half})
  set(nv12 ${half})
  foreach(format rgb32 rgb24 yuv32 yuy2 yv12 nv12)
    math(EXPR two "${${format}} * 2")
    tool_ok(--size ${w}x${h} --frames 2 --to ${format} card.${format} --png ${format}.png)
    expect_size(card.${format} ${two})
    check(png ${format}.png ${w} ${h})
    tool_ok(--size ${w}x${h} --frames 2 --invert --to ${format} flip.${format})
    expect_size(flip.${format} ${two})
  endforeach()
  tool_ok(--size 1x1 --png tiny.png)
  check(png tiny.png 1 1)

  # Files of several frames, read to their end or to --frames.
  math(EXPR two "${rgb32} * 2")
  tool_ok(--from yuy2 --size ${w}x${h} --to rgb32 card.yuy2 from.rgb32)
  expect_size(from.rgb32 ${two})
  tool_ok(--from yuy2 --size ${w}x${h} --to rgb32 --frames 1 card.yuy2 one.rgb32)
  expect_size(one.rgb32 ${rgb32})
  tool_ok(--from yuv32 --size ${w}x${h} --to yuv32 card.yuv32 copy.yuv32)
  expect_same(copy.yuv32 card.yuv32)

  # Routes: YUV stays YUV where it can, NV12 is YV12 repacked, mirroring takes
  # exactly one Invert slot, YV12 is read through RGB32 (slot 17 writes nothing
  # in host memory), and the PNG of NV12 goes through YV12.
  set(size --size ${w}x${h})
  tool_route("yuy2 -> yuv32 \\(YUY2toYUV32, slot 21\\) -> yv12 \\(YUV32toYV12, slot 16\\)\n"
    --from yuy2 ${size} --to yv12 card.yuy2 route.yv12)
  tool_route("yv12 -> rgb32 \\(YV12toRGB32, slot 15\\) -> yuv32 \\(RGB32toYUV32, slot 2\\)\n"
    --from yv12 ${size} --to yuv32 card.yv12 route.yuv32)
  tool_route("rgb32 -> yv12 \\(RGB32toYV12, slot 14\\) -> nv12 \\(byte repack\\)\n" ${size} --to nv12 route.nv12)
  tool_route("yuy2 -> yuv32 \\(YUY2toYUV32, slot 21\\) -> yv12 \\(YUV32toYV12, slot 16\\) -> nv12 \\(byte repack\\)\n"
    --from yuy2 ${size} --to nv12 card.yuy2 from-yuy2.nv12)
  tool_route("yuv32 -> rgb32 \\(YUV32toRGB32, slot 3\\) -> yv12 \\(InvertRGB32toYV12, slot 18\\) -> nv12 \\(byte repack\\)\n"
    --invert --from yuv32 ${size} --to nv12 card.yuv32 route.nv12)
  # NV12 holds the samples of the library's YV12 frame, U before V.
  check(nv12 card.nv12 ${w} ${h} card.yv12)
  tool_ok(--from yuy2 ${size} --to yv12 card.yuy2 from-yuy2.yv12)
  check(nv12 from-yuy2.nv12 ${w} ${h} from-yuy2.yv12)
  tool_route("rgb32 -> rgb32 \\(InvertRGB32toRGB32, slot 8\\)\n" --invert ${size} route.rgb32)
  tool_route("yuy2 -> rgb24 \\(InvertYUY2toRGB24, slot 25\\)\n" --invert --from yuy2 ${size} --to rgb24
    card.yuy2 route.rgb24)
  tool_route("png: nv12 -> yv12 \\(byte repack\\) -> rgb32 \\(YV12toRGB32, slot 15\\)\n"
    ${size} --to nv12 route.nv12 --png route.png)
  tool_route("png: rgb24 -> rgb32 \\(byte repack\\)\n" ${size} --to rgb24 --png route.png)

  # Input that ends inside a frame: status 1 and no file; on standard output
  # the whole frames before it are written.
  tool_fails(1 "ends inside a frame" --from rgb32 --size ${w}x40 card.rgb32 cut.rgb32)
  expect_missing(cut.rgb32)
  tool_fails(1 "ends inside a frame" --from rgb32 --size ${w}x40 card.rgb32 -)
  math(EXPR two "${w} * 40 * 4 * 2")
  expect_size(tool.out ${two})
  file(WRITE "${WORK}/empty.raw" "")
  tool_fails(1 "no frame" --from rgb32 ${size} empty.raw out.raw)
  tool_fails(1 "cannot open" --from rgb32 ${size} missing.raw out.raw)

elseif(MODE STREQUAL "fields")
  # Split, top and bottom of the card, by doubling and by interpolation, checked
  # line by line against the card; an odd height too, whose plans reach past
  # the frame into the lines the tool adds after it.
  foreach(wh 128x96 64x45)
    string(REPLACE "x" ";" sides ${wh})
    foreach(mode double interpolate)
      foreach(op split top bottom)
        tool_ok(--size ${wh} --fields ${op} --field-mode ${mode} ${op}-${mode}-${wh}.rgb32)
        check(fields ${op}-${mode}-${wh}.rgb32 ${sides} ${op} ${mode})
      endforeach()
    endforeach()
  endforeach()
  # A one-line frame has a top field only: whatever the library leaves alone
  # or brings in from past the frame, every output is the frame itself.
  tool_ok(--size 16x1 --frames 2 line2.rgb32)
  foreach(mode double interpolate)
    tool_ok(--size 16x1 --fields split --field-mode ${mode} split-${mode}-16x1.rgb32)
    expect_same(split-${mode}-16x1.rgb32 line2.rgb32)
    foreach(op top bottom)
      tool_ok(--size 16x1 --frames 2 --fields ${op} --field-mode ${mode} ${op}-${mode}-16x1.rgb32)
      expect_same(${op}-${mode}-16x1.rgb32 line2.rgb32)
    endforeach()
  endforeach()

  set(size --size 128x96)
  set(frame 49152)  # 128 x 96 x 4
  # The PNG shows the first output frame: the top field's.
  tool_ok(${size} --fields split --png split.png)
  check(png split.png 128 96 top-double-128x96.rgb32)

  # Weave: even lines from the first frame of each pair, odd lines from the
  # second, so weaving the frames of a doubling split (top, bottom, top,
  # bottom) gives the card back twice; the wrong order or pairing would not.
  foreach(wh 128x96 64x45)
    tool_ok(--size ${wh} --frames 2 --fields split split4-${wh}.rgb32)
    tool_ok(--from rgb32 --size ${wh} --fields weave split4-${wh}.rgb32 woven-${wh}.rgb32)
    tool_ok(--size ${wh} --frames 2 card2-${wh}.rgb32)
    expect_same(woven-${wh}.rgb32 card2-${wh}.rgb32)
  endforeach()
  math(EXPR four "${frame} * 4")
  expect_size(split4-128x96.rgb32 ${four})
  # Without --frames the card is used twice, one pair.
  tool_ok(${size} --fields weave card-woven.rgb32)
  tool_ok(${size} card.rgb32)
  expect_same(card-woven.rgb32 card.rgb32)
  # An input that ends on an unpaired frame: status 1, no file; on standard
  # output the pair before it is written, the lone frame is not.
  execute_process(COMMAND "${CMAKE_COMMAND}" -E cat card2-128x96.rgb32 top-double-128x96.rgb32
    WORKING_DIRECTORY "${WORK}" OUTPUT_FILE "${WORK}/three.rgb32")
  math(EXPR three "${frame} * 3")
  expect_size(three.rgb32 ${three})
  tool_fails(1 "ended after 3 frames, an odd number" --from rgb32 ${size} --fields weave three.rgb32 two.rgb32)
  expect_missing(two.rgb32)
  tool_fails(1 "ended after 3 frames, an odd number" --from rgb32 ${size} --fields weave three.rgb32 -)
  expect_size(tool.out ${frame})

  # Other formats: converted to rgb32 before the step and to the output
  # format after it; --invert mirrors after the step (before it, the fields of
  # an even-height frame would swap). Each equals the same steps run one by
  # one. (yuv32: the format whose conversions run in every build.)
  tool_ok(${size} --frames 2 --to yuv32 card.yuv32)
  tool_ok(--from yuv32 ${size} --to rgb32 card.yuv32 card-from-yuv32.rgb32)
  tool_ok(--from rgb32 ${size} --fields bottom card-from-yuv32.rgb32 bottom-by-steps.rgb32)
  tool_ok(--from yuv32 ${size} --fields bottom --to rgb32 card.yuv32 bottom-at-once.rgb32)
  expect_same(bottom-at-once.rgb32 bottom-by-steps.rgb32)
  tool_ok(--from rgb32 ${size} --invert --to yuv32 bottom-by-steps.rgb32 flip-by-steps.yuv32)
  tool_ok(--from yuv32 ${size} --fields bottom --invert card.yuv32 flip-at-once.yuv32)
  expect_same(flip-at-once.yuv32 flip-by-steps.yuv32)
  tool_route("convert yuv32 -> rgb32 \\(YUV32toRGB32, slot 3\\)\n[^\n]*fields: split[^\n]*interpolating\
[^\n]*slot 29\\)\n[^\n]*convert rgb32 -> yv12 \\(RGB32toYV12, slot 14\\)\n[^\n]*2 frame\\(s\\) read, 4 written"
    --from yuv32 ${size} --fields split --field-mode interpolate --to yv12 card.yuv32 split.yv12)
  expect_size(split.yv12 73728)  # 4 x 128 x 96 x 3 / 2

elseif(MODE STREQUAL "arguments")
  tool_ok(--help)
  if(NOT TOOL_OUT MATCHES "Usage: tessiva-convert" OR NOT TOOL_OUT MATCHES "--fields OP"
     OR NOT TOOL_OUT MATCHES "--field-mode MODE" OR NOT TOOL_OUT MATCHES "-s, --size WxH"
     OR NOT TOOL_OUT MATCHES "-y, --overwrite" OR NOT TOOL_OUT MATCHES "-n, --no-overwrite"
     OR NOT TOOL_OUT MATCHES "--quiet")
    message(FATAL_ERROR "--help printed:\n${TOOL_OUT}")
  endif()
  # ffmpeg's pixel-format names, each beside ours.
  if(NOT TOOL_OUT MATCHES "rgb32 +bgra" OR NOT TOOL_OUT MATCHES "rgb24 +bgr24"
     OR NOT TOOL_OUT MATCHES "yuy2 +yuyv422" OR NOT TOOL_OUT MATCHES "nv12 +nv12")
    message(FATAL_ERROR "--help printed:\n${TOOL_OUT}")
  endif()
  # Every refusal: status 2, a message naming the problem, and no file written.
  tool_fails(2 "nothing to write")
  tool_fails(2 "unknown format 'bogus'" --to bogus never.raw)
  tool_fails(2 "unknown option '--bogus'" --bogus never.raw)
  tool_fails(2 "unknown option '-x'" -x never.raw)
  tool_fails(2 "too many file names" a.raw b.raw never.raw)
  tool_fails(2 "needs a value" never.raw --to)
  tool_fails(2 "takes no value" --invert=1 never.raw)
  tool_fails(2 "not WIDTHxHEIGHT" --size 1920 never.raw)
  tool_fails(2 "not WIDTHxHEIGHT" --size 64x-48 never.raw)
  tool_fails(2 "out of range" --size 0x48 never.raw)
  tool_fails(2 "out of range" --size 40000x2 never.raw)
  tool_fails(2 "out of range" --size 32768x32768 never.raw)
  tool_fails(2 "--frames needs a positive" --frames 0 never.raw)
  tool_fails(2 "--frames needs a positive" --frames 3x never.raw)
  tool_fails(2 "--level needs 0, 1, 2, 3, 4 or 6" --level 7 never.raw)
  tool_fails(2 "--level needs 0, 1, 2, 3, 4 or 6" --level 5 never.raw)
  tool_fails(2 "-s needs a value" never.raw -s)
  tool_fails(2 "-y and -n cannot be used together" -y -n never.raw)
  tool_fails(2 "unknown format 'yuv420p' for --to \\(rgb32 \\(bgra\\), rgb24 \\(bgr24\\), yuv32, yuy2 \\(yuyv422\\)"
    --to yuv420p never.raw)
  tool_fails(2 "--png needs a file name" --png= never.raw)
  tool_fails(2 "needs --from FMT and --size" --size 64x48 in.raw never.raw)
  tool_fails(2 "needs --from FMT and --size" --from rgb32 in.raw never.raw)
  tool_fails(2 "without INPUT the test card" --from yuv32 never.raw)
  tool_fails(2 "cannot both be standard output" --png - -)
  tool_fails(2 "cannot read rgb24" --from rgb24 --size 64x48 --to rgb32 in.raw never.raw)
  tool_fails(2 "cannot read nv12" --from nv12 --size 64x48 --to yv12 in.raw never.raw)
  tool_fails(2 "cannot read rgb24" --invert --from rgb24 --size 64x48 in.raw never.raw)
  tool_fails(2 "yuy2 needs an even width" --size 63x48 --to yuy2 never.raw)
  tool_fails(2 "yv12 needs an even width and height" --size 64x47 --to yv12 never.raw)
  tool_fails(2 "nv12 needs an even width and height" --from yuy2 --size 64x47 --to nv12 in.raw never.raw)
  tool_fails(2 "unknown value 'bogus' for --fields" --fields bogus never.raw)
  tool_fails(2 "unknown value 'blend' for --field-mode" --fields top --field-mode blend never.raw)
  tool_fails(2 "--field-mode goes with --fields split, top or bottom" --field-mode interpolate never.raw)
  tool_fails(2 "--field-mode goes with --fields split, top or bottom" --fields weave --field-mode double never.raw)
  tool_fails(2 "--fields weave takes frames in pairs: --frames 3 is odd" --fields weave --frames 3 never.raw)
  tool_fails(2 "cannot read rgb24" --from rgb24 --size 64x48 --fields top in.raw never.raw)
  tool_fails(2 "yuy2 needs an even width" --size 63x48 --fields split --to yuy2 never.raw)
  if(EXISTS "${WORK}/never.raw")
    message(FATAL_ERROR "a refused command wrote never.raw")
  endif()

elseif(MODE STREQUAL "files")
  set(size -s 64x48)
  tool_ok(${size} --frames 2 --to yuyv422 card.yuy2)
  tool_ok(--size 64x48 --frames 2 --to yuy2 long-names.yuy2)
  expect_same(card.yuy2 long-names.yuy2)
  file(COPY_FILE "${WORK}/card.yuy2" "${WORK}/card.copy")
  # ffmpeg's names read as ours.
  tool_ok(--from yuyv422 ${size} --to bgra card.yuy2 a.rgb32)
  tool_ok(--from yuy2 ${size} --to rgb32 card.yuy2 b.rgb32)
  expect_same(a.rgb32 b.rgb32)

  # An output that is the input, under any name: status 2 before anything is
  # written, -y or not, and the input intact.
  file(CREATE_LINK "${WORK}/card.yuy2" "${WORK}/hard.yuy2")
  file(CREATE_LINK card.yuy2 "${WORK}/soft.yuy2" SYMBOLIC)
  foreach(out card.yuy2 ./card.yuy2 hard.yuy2 soft.yuy2)
    tool_fails(2 "'${out}' is the input file 'card.yuy2'" --from yuy2 ${size} card.yuy2 ${out})
    tool_fails(2 "is the input file" -y --from yuy2 ${size} --to rgb32 card.yuy2 ${out})
    tool_fails(2 "is the input file" -y --from yuy2 ${size} card.yuy2 never.raw --png ${out})
  endforeach()
  # Standard input redirected from the output file. (Wine gives a program no
  # file identity for a standard input it inherits from Linux; the rename
  # still leaves the file being read intact there.)
  if(NOT EMULATOR)
    execute_process(COMMAND "${TOOL}" -y --from yuy2 ${size} - card.yuy2 WORKING_DIRECTORY "${WORK}"
      INPUT_FILE "${WORK}/card.yuy2" RESULT_VARIABLE rc OUTPUT_QUIET ERROR_FILE "${WORK}/stdin.err")
    file(READ "${WORK}/stdin.err" err)
    if(NOT rc STREQUAL "2" OR NOT err MATCHES "'card.yuy2' is the input file")
      message(FATAL_ERROR "output = redirected input exited with ${rc}:\n${err}")
    endif()
  endif()
  expect_same(card.yuy2 card.copy)
  tool_fails(2 "OUTPUT and --png name the same file" ${size} same.out --png same.out)
  expect_missing(same.out)

  # Overwriting: refused by default and with -n, done with -y.
  file(WRITE "${WORK}/old.rgb32" "old")
  tool_fails(2 "'old.rgb32' exists: give -y to replace it" ${size} old.rgb32)
  tool_fails(2 "'old.rgb32' exists; -n keeps it" -n ${size} old.rgb32)
  tool_fails(2 "exists: give -y" ${size} new.rgb32 --png old.rgb32)
  expect_missing(new.rgb32)
  expect_size(old.rgb32 3)
  # A failed run leaves an existing file as it was and no new file.
  tool_fails(1 "ends inside a frame" -y --from yuy2 -s 64x40 card.yuy2 old.rgb32 --png new.png)
  expect_size(old.rgb32 3)
  expect_missing(new.png)
  expect_no_leftovers()
  tool_ok(-y ${size} old.rgb32)
  expect_size(old.rgb32 12288)
  expect_no_leftovers()
  if(NOT EMULATOR)
    # A symbolic link stays a link; its target is replaced.
    file(WRITE "${WORK}/target.rgb32" "old")
    file(CREATE_LINK target.rgb32 "${WORK}/link.rgb32" SYMBOLIC)
    tool_ok(-y ${size} link.rgb32)
    expect_size(target.rgb32 12288)
    if(NOT IS_SYMLINK "${WORK}/link.rgb32")
      message(FATAL_ERROR "link.rgb32 was replaced by a file")
    endif()

    # Not a regular file: written in place, never renamed over.
    tool_ok(${size} /dev/null)

    # --level caps the library's level through its registry settings: at
    # level 0 an odd width leaves the last pixel of a row unconverted, at the
    # SSE2 level and above every pixel is converted.
    tool_ok(--level 3 -s 63x8 --to yuv32 level3.yuv32)
    check(yuv32 level3.yuv32 63 8)
    tool_ok(--level 6 -s 63x8 --to yuv32 level6.yuv32)
    check(yuv32 level6.yuv32 63 8)
    tool_ok(--level 0 -s 63x8 --to yuv32 level0.yuv32)
    execute_process(COMMAND "${CMAKE_COMMAND}" -E compare_files "${WORK}/level0.yuv32" "${WORK}/level3.yuv32"
      RESULT_VARIABLE rc)
    if(rc STREQUAL "0")
      message(FATAL_ERROR "--level 0 gave the bytes of level 3")
    endif()

    # The progress line: only on a terminal (here a pseudo-terminal from
    # script), only without --quiet, and only once the run has taken a second:
    # the input pauses for longer than that between its two frames.
    tool_ok(${size} --frames 2 two.rgb32)
    file(WRITE "${WORK}/slow.sh" "head -c 12288 two.rgb32; sleep 1.2; tail -c 12288 two.rgb32\n")
    set(convert "${TOOL}" --from rgb32 ${size} --to yuy2 - -)
    list(JOIN convert " " command)
    foreach(quiet "" --quiet)
      execute_process(COMMAND script -qec "sh slow.sh | ${command} ${quiet} 2>&1 >/dev/null" /dev/null
        WORKING_DIRECTORY "${WORK}" RESULT_VARIABLE rc OUTPUT_VARIABLE terminal ERROR_VARIABLE terminal)
      if(NOT rc STREQUAL "0")
        message(FATAL_ERROR "the run on a terminal exited with ${rc}:\n${terminal}")
      endif()
      if(quiet AND terminal MATCHES "fps")
        message(FATAL_ERROR "--quiet showed progress:\n${terminal}")
      elseif(NOT quiet AND NOT terminal MATCHES "tessiva-convert: 2 frames, [0-9.]+ fps")
        message(FATAL_ERROR "no progress line on a terminal:\n${terminal}")
      endif()
    endforeach()
    execute_process(COMMAND sh slow.sh COMMAND ${convert} WORKING_DIRECTORY "${WORK}"
      RESULTS_VARIABLE rcs OUTPUT_QUIET ERROR_VARIABLE piped)
    if(NOT rcs STREQUAL "0;0" OR NOT piped STREQUAL "")
      message(FATAL_ERROR "the run into a pipe exited with ${rcs} and said:\n${piped}")
    endif()
  else()
    tool_fails(2 "--level is not available on Windows" --level 3 ${size} never.raw)
  endif()

elseif(MODE STREQUAL "ffmpeg")
  # ffmpeg's test pattern as bgra frames through a pipe into the tool, to
  # yuyv422 and nv12, against ffmpeg's own conversion of the same frames
  # (BT.601 studio range, exact rounding).
  if(NOT FFMPEG)
    message(FATAL_ERROR "ffmpeg not found: scripts/install-deps.sh installs it")
  endif()
  set(w 320)
  set(h 240)
  set(exact accurate_rnd+full_chroma_int+bitexact)
  set(raw -f rawvideo -s ${w}x${h})
  set(pattern -f lavfi -i testsrc2=size=${w}x${h}:rate=25 -frames:v 3 -fflags +bitexact)
  macro(ffmpeg)
    execute_process(COMMAND "${FFMPEG}" -nostdin -hide_banner -loglevel error ${ARGN} WORKING_DIRECTORY "${WORK}"
      RESULT_VARIABLE rc OUTPUT_VARIABLE FFMPEG_OUT ERROR_VARIABLE FFMPEG_OUT)
    if(NOT rc STREQUAL "0")
      message(FATAL_ERROR "ffmpeg ${ARGN}\nexited with ${rc}:\n${FFMPEG_OUT}")
    endif()
  endmacro()
  ffmpeg(${pattern} ${raw} -pix_fmt bgra source.bgra)
  foreach(format yuyv422 nv12)
    execute_process(
      COMMAND "${FFMPEG}" -nostdin -loglevel error ${pattern} ${raw} -pix_fmt bgra -
      COMMAND ${EMULATOR} "${TOOL}" --from bgra -s ${w}x${h} --to ${format} - tool.${format}
      WORKING_DIRECTORY "${WORK}" RESULTS_VARIABLE rcs ERROR_VARIABLE err)
    if(NOT rcs STREQUAL "0;0")
      message(FATAL_ERROR "ffmpeg | tessiva-convert --to ${format} exited with ${rcs}:\n${err}")
    endif()
    ffmpeg(${raw} -pix_fmt bgra -i source.bgra -sws_flags ${exact}
      -vf scale=out_color_matrix=bt601:out_range=tv ${raw} -pix_fmt ${format} ffmpeg.${format})
  endforeach()
  # 4:2:2: every sample within 1. 4:2:0: luma within 1; chroma sites differ
  # (ffmpeg takes chroma at the left of a pair, the library the pair's
  # mean), which moves sharp colour edges but not the mean.
  check(compare yuy2 tool.yuyv422 ffmpeg.yuyv422 ${w} ${h} 1 1 1)
  check(compare nv12 tool.nv12 ffmpeg.nv12 ${w} ${h} 1 255 1)

  # ffmpeg decodes the tool's frames into pictures whose luma is within 40 dB
  # of the source's, and whose RGB is within 40 dB of ffmpeg's own frames
  # decoded the same way.
  set(decode scale=in_color_matrix=bt601:in_range=tv:flags=${exact},format=bgra)
  set(gray scale=flags=${exact},format=gray)
  foreach(format yuyv422 nv12)
    foreach(against source "ffmpeg's frames")
      if(against STREQUAL "source")
        set(second ${raw} -pix_fmt bgra -i source.bgra)
        set(graph "[0:v]${decode},${gray}[a];[1:v]${gray}[b];[a][b]psnr")
      else()
        set(second ${raw} -pix_fmt ${format} -i ffmpeg.${format})
        set(graph "[0:v]${decode}[a];[1:v]${decode}[b];[a][b]psnr")
      endif()
      # In a file: a CMake list would split the graph at its semicolons.
      file(WRITE "${WORK}/graph.txt" "${graph}")
      ffmpeg(-loglevel info ${raw} -pix_fmt ${format} -i tool.${format} ${second}
        -filter_complex_script graph.txt -f null -)
      if(NOT FFMPEG_OUT MATCHES "PSNR [^\n]*average:([0-9.]+|inf)")
        message(FATAL_ERROR "no PSNR from ffmpeg:\n${FFMPEG_OUT}")
      endif()
      set(psnr ${CMAKE_MATCH_1})
      message(STATUS "${format}: PSNR ${psnr} dB against ${against}")
      if(NOT psnr STREQUAL "inf" AND psnr LESS 40)
        message(FATAL_ERROR "${format}: PSNR ${psnr} dB against ${against}")
      endif()
    endforeach()
  endforeach()

else()
  message(FATAL_ERROR "unknown MODE '${MODE}'")
endif()
