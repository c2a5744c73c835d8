# The targets of tests/reliability/values/fuzz, built by clang with KORVEL_SANITIZE=fuzzer-no-link,...
# Each test runs one of them, first with its corpus. What it finds is left in the build directory.

enable_testing()
foreach(name Conversions Sinks Staging)
    set(folder "${PROJECT_SOURCE_DIR}/tests/reliability/values/fuzz")
    string(TOLOWER ${name} case)
    add_executable(fuzz_${case} "${folder}/${name}.cpp")
    korvel_own_code(fuzz_${case})
    target_include_directories(fuzz_${case} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
    target_link_libraries(fuzz_${case} PRIVATE Korvel::Extras)
    target_link_options(fuzz_${case} PRIVATE -fsanitize=fuzzer)
    set(found "${PROJECT_BINARY_DIR}/corpus/${case}")
    file(MAKE_DIRECTORY "${found}")
    add_test(NAME fuzz.${case} COMMAND fuzz_${case}
        ${KORVEL_FUZZ} -max_len=128 -print_final_stats=1 "${found}" "${folder}/corpus/${case}")
    set_tests_properties(fuzz.${case} PROPERTIES LABELS reliability TIMEOUT 1500)
endforeach()
