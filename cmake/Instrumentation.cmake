# Sanitizers and coverage: chosen once, for every target, so that no object is built without what the others carry.
if(ORVLOG_SANITIZE)
  add_compile_options(-fsanitize=${ORVLOG_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ORVLOG_SANITIZE})
endif()
if(ORVLOG_COVERAGE)
  add_compile_options(--coverage -O0)
  add_link_options(--coverage)
endif()
