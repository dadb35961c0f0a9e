# Runs tessiva-convert the way a user does and checks what it writes.
#   cmake -DMODE=roundtrip|pipe|structure|fields|arguments -DTOOL=<exe> -DCHECK=<exe>
#         [-DEMULATOR=<runner>] [-DPYTHON=<python3>] -DSOURCE=<tests/tool> -DWORK=<dir>
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

function(check_png_with_zlib file width height)
  if(PYTHON)
    execute_process(COMMAND "${PYTHON}" "${SOURCE}/check_png_zlib.py" "${file}" ${width} ${height}
      WORKING_DIRECTORY "${WORK}" RESULT_VARIABLE rc ERROR_VARIABLE err OUTPUT_QUIET)
    if(NOT rc STREQUAL "0")
      message(FATAL_ERROR "zlib check of ${file} failed:\n${err}")
    endif()
  endif()
endfunction()

function(expect_size file bytes)
  file(SIZE "${WORK}/${file}" size)
  if(NOT size EQUAL bytes)
    message(FATAL_ERROR "${file} holds ${size} bytes, expected ${bytes}")
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
  tool_ok(--verbose ${ARGN})
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
  check_png_with_zlib(card.png 1920 1080)
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
  check_png_with_zlib(nv12.png ${w} ${h})
  tool_ok(--size 1x1 --png tiny.png)
  check(png tiny.png 1 1)
  check_png_with_zlib(tiny.png 1 1)

  # Files of several frames, read to their end or to --frames.
  math(EXPR two "${rgb32} * 2")
  tool_ok(--from yuy2 --size ${w}x${h} --to rgb32 card.yuy2 from.rgb32)
  expect_size(from.rgb32 ${two})
  tool_ok(--from yuy2 --size ${w}x${h} --to rgb32 --frames 1 card.yuy2 one.rgb32)
  expect_size(one.rgb32 ${rgb32})
  tool_ok(--from yuv32 --size ${w}x${h} --to yuv32 card.yuv32 copy.yuv32)
  expect_same(copy.yuv32 card.yuv32)

  # Routes: YUV stays YUV where it can, NV12 comes from the routine table,
  # mirroring takes exactly one Invert slot, YV12 is read through RGB32 (slot 17
  # writes nothing in host memory), and the PNG of NV12 goes through YV12.
  set(size --size ${w}x${h})
  tool_route("yuy2 -> yuv32 \\(YUY2toYUV32, slot 21\\) -> yv12 \\(YUV32toYV12, slot 16\\)\n"
    --from yuy2 ${size} --to yv12 card.yuy2 route.yv12)
  tool_route("yv12 -> rgb32 \\(YV12toRGB32, slot 15\\) -> yuv32 \\(RGB32toYUV32, slot 2\\)\n"
    --from yv12 ${size} --to yuv32 card.yv12 route.yuv32)
  tool_route("rgb32 -> nv12 \\(RGB32toNV12, routine table\\)\n" ${size} --to nv12 route.nv12)
  tool_route("yuy2 -> nv12 \\(YUY2toNV12, routine table\\)\n" --from yuy2 ${size} --to nv12 card.yuy2 route.nv12)
  tool_route("yuv32 -> rgb32 \\(InvertYUV32toRGB32, slot 11\\) -> nv12 \\(RGB32toNV12, routine table\\)\n"
    --invert --from yuv32 ${size} --to nv12 card.yuv32 route.nv12)
  tool_route("rgb32 -> rgb32 \\(InvertRGB32toRGB32, slot 8\\)\n" --invert ${size} route.rgb32)
  tool_route("yuy2 -> rgb24 \\(InvertYUY2toRGB24, slot 25\\)\n" --invert --from yuy2 ${size} --to rgb24
    card.yuy2 route.rgb24)
  tool_route("png: nv12 -> yv12 \\(byte repack\\) -> rgb32 \\(YV12toRGB32, slot 15\\)\n"
    ${size} --to nv12 route.nv12 --png route.png)
  tool_route("png: rgb24 -> rgb32 \\(byte repack\\)\n" ${size} --to rgb24 --png route.png)

  # Input that ends inside a frame: the whole frames are written, then status 1.
  tool_fails(1 "ends inside a frame" --from rgb32 --size ${w}x40 card.rgb32 cut.rgb32)
  math(EXPR two "${w} * 40 * 4 * 2")
  expect_size(cut.rgb32 ${two})
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
  # An input that ends on an unpaired frame: the pair before it is written,
  # the lone frame is not, and the status is 1.
  execute_process(COMMAND "${CMAKE_COMMAND}" -E cat card2-128x96.rgb32 top-double-128x96.rgb32
    WORKING_DIRECTORY "${WORK}" OUTPUT_FILE "${WORK}/three.rgb32")
  math(EXPR three "${frame} * 3")
  expect_size(three.rgb32 ${three})
  tool_fails(1 "ended after 3 frames, an odd number" --from rgb32 ${size} --fields weave three.rgb32 two.rgb32)
  expect_size(two.rgb32 ${frame})

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
  if(NOT TOOL_OUT MATCHES "Usage: tessiva-convert" OR NOT TOOL_OUT MATCHES "yuyv422"
     OR NOT TOOL_OUT MATCHES "--fields OP" OR NOT TOOL_OUT MATCHES "--field-mode MODE")
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
  tool_fails(2 "--level needs a number from 0 to 6" --level 7 never.raw)
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

else()
  message(FATAL_ERROR "unknown MODE '${MODE}'")
endif()
