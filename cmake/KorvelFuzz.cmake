# SPDX-FileCopyrightText: 2026 The Korvel authors
# SPDX-License-Identifier: MIT

# The targets of tests/reliability/values/fuzz, built by clang with KORVEL_SANITIZE=fuzzer-no-link,...
# Each test runs one of them, first with its corpus. It leaves its findings in the build directory.

enable_testing()
# The longest first: two run at once.
foreach(name Sinks Conversions Staging)
    set(folder "${PROJECT_SOURCE_DIR}/tests/reliability/values/fuzz")
    string(TOLOWER ${name} case)
    add_executable(fuzz_${case} "${folder}/${name}.cpp")
    korvel_own_code(fuzz_${case})
    target_include_directories(fuzz_${case} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
    target_link_libraries(fuzz_${case} PRIVATE Korvel::Extras)
    # The coverage of test code would take most of the time.
    target_compile_options(fuzz_${case} PRIVATE -fno-sanitize=fuzzer-no-link)
    target_link_options(fuzz_${case} PRIVATE -fsanitize=fuzzer)
    # Two processes search from different seeds.
    foreach(process 1 2)
        set(found "${PROJECT_BINARY_DIR}/corpus/${case}.${process}")
        file(MAKE_DIRECTORY "${found}")
        add_test(NAME fuzz.${case}.${process} COMMAND fuzz_${case}
            ${KORVEL_FUZZ} -entropic=0 -max_len=64 "${found}" "${folder}/corpus/${case}")
        set_tests_properties(fuzz.${case}.${process} PROPERTIES LABELS reliability TIMEOUT 1500
            ENVIRONMENT
            ASAN_OPTIONS=malloc_context_size=1:quarantine_size_mb=2:max_malloc_fill_size=0)
    endforeach()
endforeach()
