# Reads the files with data.table's fread and prints the figures as one line of JSON.
# Rscript fread.R --version | --threads N --x NAME --y NAME [--z NAME] FILE...
suppressPackageStartupMessages(library(data.table))

Status <- function(key) {
    line <- grep(paste0("^", key, ":"), readLines("/proc/self/status"), value = TRUE)
    as.numeric(sub("[^0-9]*([0-9]+) kB", "\\1", line)) * 1024
}

words <- commandArgs(trailingOnly = TRUE)
if (identical(words, "--version")) {
    cat(as.character(packageVersion("data.table")), ", R ", as.character(getRversion()), "\n", sep = "")
    quit(status = 0)
}
axes <- list()
threads <- 1L
while (length(words) > 1 && startsWith(words[1], "--")) {
    if (words[1] == "--threads") threads <- as.integer(words[2]) else axes[[substring(words[1], 3)]] <- words[2]
    words <- words[-(1:2)]
}
setDTthreads(threads)

invisible(gc())
before <- Status("RssAnon")
begin <- proc.time()
for (file in words) {
    table <- fread(file, nThread = threads, showProgress = FALSE)
}
used <- proc.time() - begin
kept <- Status("RssAnon") - before
resident <- Status("VmRSS")
peak <- Status("VmHWM")

rows <- 0
sums <- sapply(axes, function(name) 0)
for (file in words) {
    if (length(words) > 1) table <- fread(file, nThread = threads, showProgress = FALSE)
    rows <- rows + nrow(table)
    sums <- sums + sapply(axes, function(name) sum(table[[name]]))
}
cat(sprintf('{"rows": %d, ', as.integer(rows)),
    paste0(sprintf('"sum_%s": %.17g, ', names(axes), sums), collapse = ""),
    sprintf('"cpu_s": %.6f, "wall_s": %.6f, "resident_after_bytes": %.0f, "kept_bytes": %.0f, "peak_bytes": %.0f}\n',
            used[["user.self"]] + used[["sys.self"]], used[["elapsed"]], resident, kept, peak), sep = "")
