# Draws growth.tsv, as measure.py writes it: gnuplot -e "table='growth.tsv'; drawing='growth.svg'" growth.gnuplot
set terminal svg size 720,400 font "sans-serif,13" background "white"
set output drawing
set title "Time for a chat by the number of chats"
set xlabel "chats"
set ylabel "microseconds a chat"
set xrange [0:*]
set logscale y
set yrange [100:*]
set key top left
set grid ytics
set style data linespoints
stats table skip 1 nooutput
plot for [column=2:STATS_columns] table using 1:column title columnheader(column) linewidth 2 pointtype 7 pointsize 0.5
