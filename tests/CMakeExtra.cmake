# Tests beyond the per-area GoogleTest programs: the ststg tool against the shared
# corpus, and an install of the package used by a separate consumer project.
find_package(Python3 COMPONENTS Interpreter)

if(TARGET tests_tool)
  if(TARGET ststg_core)
    target_link_libraries(tests_tool PRIVATE ststg_core)
    target_compile_definitions(tests_tool PRIVATE STSTG_PATH="$<TARGET_FILE:ststg>")
    add_dependencies(tests_tool ststg)
  else()
    # The tool tests need the tool.
    set_target_properties(tests_tool PROPERTIES EXCLUDE_FROM_ALL TRUE)
  endif()
endif()

if(TARGET ststg AND Python3_Interpreter_FOUND)
  add_test(NAME corpus_tree
           COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/corpus/compare_tree.py
                   --ststg $<TARGET_FILE:ststg> --corpus ${PROJECT_SOURCE_DIR}/../shared/corpus)
  set_tests_properties(corpus_tree PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 900)
  if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/corpus/compare_props.py)
    add_test(NAME corpus_props
             COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/corpus/compare_props.py
                     --ststg $<TARGET_FILE:ststg> --corpus ${PROJECT_SOURCE_DIR}/../shared/corpus)
    set_tests_properties(corpus_props PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 900)
  endif()
endif()

if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/install/RunInstallTest.cmake)
  add_test(NAME install_consumer
           COMMAND ${CMAKE_COMMAND}
                   -DBUILD_DIR=${PROJECT_BINARY_DIR}
                   -DCONSUMER_DIR=${CMAKE_CURRENT_SOURCE_DIR}/install/consumer
                   -DWORK_DIR=${CMAKE_CURRENT_BINARY_DIR}/install-test
                   -DCXX_COMPILER=${CMAKE_CXX_COMPILER}
                   -DCXX_FLAGS=${CMAKE_CXX_FLAGS}
                   -DLINKER_FLAGS=${CMAKE_EXE_LINKER_FLAGS}
                   -DSAMPLE_FILE=${PROJECT_SOURCE_DIR}/examples/embedded-object.doc
                   -P ${CMAKE_CURRENT_SOURCE_DIR}/install/RunInstallTest.cmake)
  set_tests_properties(install_consumer PROPERTIES TIMEOUT 600 RUN_SERIAL TRUE)
endif()
