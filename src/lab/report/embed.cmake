# Writes page_pieces.cpp: page.css, and chart_rows.js followed by page.js, as constants. Called with
# -DFROM=folder -DOUT=file.
# A compiler may limit the length of a literal, so a text is made of several.
function(raw_pieces text result)
  set(pieces "")
  string(LENGTH "${text}" length)
  set(at 0)
  while(at LESS length)
    string(SUBSTRING "${text}" ${at} 8000 piece)
    string(APPEND pieces "\n    R\"piece(${piece})piece\"")
    math(EXPR at "${at} + 8000")
  endwhile()
  set(${result} "${pieces}" PARENT_SCOPE)
endfunction()

file(READ "${FROM}/page.css" css)
file(READ "${FROM}/chart_rows.js" rows)
file(READ "${FROM}/page.js" page)
raw_pieces("${css}" css_pieces)
raw_pieces("${rows}\n${page}" js_pieces)
file(WRITE "${OUT}" "#include \"lab/report/page_pieces.h\"

namespace lab {

const std::string_view kPageStyle =${css_pieces};
const std::string_view kPageScript =${js_pieces};

}  // namespace lab
")
