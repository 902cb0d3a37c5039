# Writes the releases of CHANGELOG.md in the form of AppStream (form=appstream) or of a Debian
# changelog (form=debian, with maintainer=NAME AND ADDRESS). What is under "Unreleased" is left out of
# the first; in the second it has the version and the day given as unreleased="VERSION (DAY)".

# Lines of a Debian changelog have 80 characters at most.
function print_wrapped(text, count, words, line, i) {
  count = split(text, words, " ")
  line = "  *"
  for (i = 1; i <= count; ++i) {
    if (length(line) + 1 + length(words[i]) > 80) {
      print line
      line = "   "
    }
    line = line " " words[i]
  }
  print line
}

function end_change() {
  if (change == "") return
  if (form == "debian") {
    print_wrapped(change)
  } else {
    gsub(/&/, "\\&amp;", change)
    gsub(/</, "\\&lt;", change)
    print "          <li>" change "</li>"
  }
  change = ""
}

function end_release(command, time) {
  end_change()
  if (day == "") return
  if (form == "debian") {
    command = "date --utc --rfc-email --date=" day
    command | getline time
    close(command)
    print "\n -- " maintainer "  " time "\n"
  } else {
    print "        </ul>\n      </description>\n    </release>"
  }
}

/^## / {
  end_release()
  if ($2 == "Unreleased") $0 = "## " unreleased
  version = $2
  day = substr($3, 2, 10)
  if (day == "") next
  if (form == "debian")
    print "tapeloop (" version ") stable; urgency=medium\n"
  else
    print "    <release version=\"" version "\" date=\"" day "\">\n" \
          "      <description>\n        <ul>"
}
day == "" { next }
/^- / { end_change(); change = substr($0, 3) }
/^  / { change = change " " substr($0, 3) }
END { end_release() }
