# SPDX-License-Identifier: MIT
# What tells two builds of one version apart, as build_id.h for zavinfo: the package (ZAV_BUILD) and
# the commit, as far as either is known. Run at each build, as a commit needs no new configuration;
# the same sources give the same text, and an unchanged header compiles nothing anew.
#   cmake -DSOURCE=... -DHEADER=... -DZAV_BUILD=... -P build_id.cmake
cmake_minimum_required(VERSION 3.25)
set(commit "$Format:%H$") # git archive puts it in (.gitattributes)
if(commit MATCHES "Format")
    set(commit)
    find_package(Git QUIET)
    if(GIT_FOUND AND EXISTS ${SOURCE}/.git)
        execute_process(COMMAND ${GIT_EXECUTABLE} describe --always --dirty --abbrev=12
            WORKING_DIRECTORY ${SOURCE} OUTPUT_VARIABLE commit
            OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    endif()
else()
    string(SUBSTRING ${commit} 0 12 commit)
endif()
set(parts ${ZAV_BUILD})
if(commit)
    list(APPEND parts "commit ${commit}")
endif()
list(JOIN parts ", " id)
if(id)
    set(id " (${id})")
endif()
file(CONFIGURE OUTPUT ${HEADER} @ONLY
    CONTENT "// Written by the build.\n#pragma once\n\n#define ZAV_BUILD_ID \"@id@\"\n")
