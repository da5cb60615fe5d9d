# The scheduler, task, interrupt and power trace-points that the converter
# decodes, as perf record's -e arguments in the array trace_events. Sourced by
# the scripts that record real traces for the tests and the benchmarks.
trace_events=()
for event in sched:sched_switch sched:sched_wakeup sched:sched_wakeup_new task:task_newtask task:task_rename \
             irq:irq_handler_entry irq:irq_handler_exit irq:softirq_entry irq:softirq_exit \
             power:cpu_idle power:cpu_frequency; do
  trace_events+=(-e "$event")
done
