# The locales that tests switch to, compiled from the system's sources into
# <build>/tests/locales, where the C library finds them through LOCPATH. So the
# tests need neither installed locales nor root.
include_guard(GLOBAL)
find_program(QVR_LOCALEDEF localedef REQUIRED)
set(QVR_LOCALE_DIR ${PROJECT_BINARY_DIR}/tests/locales)
list(APPEND QVR_TEST_ENVIRONMENT LOCPATH=${QVR_LOCALE_DIR})

# qvr_add_locale(TERRITORY CHARMAP): the locale TERRITORY.CHARMAP
function(qvr_add_locale territory charmap)
  set(directory ${QVR_LOCALE_DIR}/${territory}.${charmap})
  add_custom_command(OUTPUT ${directory}/LC_CTYPE
    COMMAND ${CMAKE_COMMAND} -E make_directory ${QVR_LOCALE_DIR}
    COMMAND ${QVR_LOCALEDEF} --no-archive -i ${territory} -f ${charmap} ${directory}
    COMMENT "Building the locale ${territory}.${charmap}" VERBATIM)
  set_property(GLOBAL APPEND PROPERTY QVR_LOCALES ${directory}/LC_CTYPE)
endfunction()

qvr_add_locale(de_DE ISO-8859-1)
qvr_add_locale(de_DE UTF-8)
qvr_add_locale(en_US UTF-8)
qvr_add_locale(ja_JP EUC-JP)
qvr_add_locale(tr_TR UTF-8)
qvr_add_locale(zh_CN GB18030)
qvr_add_locale(zh_HK BIG5-HKSCS)

get_property(locales GLOBAL PROPERTY QVR_LOCALES)
add_custom_target(QVRTestLocales ALL DEPENDS ${locales})
