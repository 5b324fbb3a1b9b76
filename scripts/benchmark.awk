# The table of scripts/benchmark from Google Benchmark's CSV. With -v points=NAME it prints that operation's points
# instead, as "size time floor": scripts/benchmark-plots draws them.
#
# A row: "operation[:variant]/size[/repeats...]",iterations,real time,CPU time,unit,... Operations may hold commas. The
# variant "instructions" has their number in place of a time.
!/^"/ || $0 ~ /_(mean|median|stddev|cv)",/ { next }
{
  match($0, /^"[^"]*"/)
  split(substr($0, 2, RLENGTH - 2), path, "/")
  split(substr($0, RLENGTH + 2), field, ",")
  name = path[1]; size = path[2] + 0; time = field[2] + 0
  if (field[1] + 0 == 0) { print "failed: " $0 > "/dev/stderr"; failed = 1; next }
  if (!((name, size) in best) || time < best[name, size]) best[name, size] = time
  split(name, part, ":")
  if (!(2 in part)) {
    if (!seen[name, size]++) order[++rows] = name SUBSEP size
  } else if (part[2] != "floor" && part[2] != "instructions") {
    instead[part[1]] = part[2]
  }
}
function in_unit(ns) {
  return ns < 1e3 ? sprintf("%.0f ns", ns) : ns < 1e6 ? sprintf("%.2f µs", ns / 1e3) : sprintf("%.2f ms", ns / 1e6)
}
function exponent(name, size, last,   a, b) {  # empty: one of them was not measured
  a = best[name, last]; b = best[name, size]
  return a && b ? sprintf("%.2f", log(b / a) / log(size / last)) : ""
}
function later(a, b,   x, y) {
  split(a, x, SUBSEP); split(b, y, SUBSEP)
  return x[1] != y[1] ? x[1] > y[1] : x[2] + 0 > y[2] + 0
}
END {
  if (rows == 0) { print "no benchmark ran" > "/dev/stderr"; exit 1 }
  # They ran in random order: sort by name, then size.
  for (i = 2; i <= rows; i++) {
    for (j = i; j > 1 && later(order[j - 1], order[j]); j--) { t = order[j]; order[j] = order[j - 1]; order[j - 1] = t }
  }
  if (!points) {
    print "| operation | n | time | floor | ratio | growth | of the floor | of instructions | instead |"
    print "|---|---:|---:|---:|---:|---:|---:|---:|---:|"
  }
  for (i = 1; i <= rows; i++) {
    split(order[i], key, SUBSEP); name = key[1]; size = key[2]
    time = best[name, size]; floor_name = name ":floor"; floor_time = best[floor_name, size]
    other = instead[name]; other_time = other ? best[name ":" other, size] : 0
    same = name == last_name
    if (!points) {
      printf "| %s | %d | %s | %s | %s | %s | %s | %s | %s |\n", name, size, in_unit(time),
        floor_time ? in_unit(floor_time) : "", floor_time ? sprintf("%.2f", time / floor_time) : "",
        same ? exponent(name, size, last_size) : "", same ? exponent(floor_name, size, last_size) : "",
        same ? exponent(name ":instructions", size, last_size) : "",
        other_time ? sprintf("%s: %.1f times", other, other_time / time) : ""
    } else if (name == points) {
      print size, time, floor_time ? floor_time : "?", other_time ? other_time : "?", other ? other : "?"
    }
    last_name = name; last_size = size
  }
  exit failed
}
