# The memory of a run as a picture: gnuplot -c tools/soak/memory.gnuplot soak.json soak.svg
set terminal svg size 920,400 background "white" font "sans-serif,12"
set output ARG2
set title "Memory of the backend; grey marks are reconnections"
set key outside top right horizontal
set grid ytics
set xlabel "minutes"
set ylabel "KiB"
set xrange [0:*] noextend
set yrange [0:*]
set offsets 0, 0, graph 0.1, 0
set datafile separator ","

# The lines of one kind, which hold numbers alone: [seconds,PSS,heap,descriptors] and [seconds].
lines_of(numbers) = sprintf("< sed -En 's/^\\[([0-9.e-]+(,[0-9.e-]+){%d})\\],?$/\\1/p' '%s'", \
                            numbers - 1, ARG1)
plot lines_of(4) using ($1 / 60):2 with lines linewidth 1.5 linecolor "#1f5fa8" title "PSS", \
     lines_of(4) using ($1 / 60):3 with lines linewidth 1.5 linecolor "#c2571a" title "heap", \
     lines_of(1) using ($1 / 60):(0) with points pointtype 2 linecolor "#999999" notitle
