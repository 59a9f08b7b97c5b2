#!/usr/bin/env perl
# Rewrites generated COFF assembler sources in place, so that the linker drops
# each file that nothing reaches: its code goes into a section of its own kind
# (a COMDAT), and what would keep it alive regardless, unwind data and the
# start-up constructor that an image never runs, is left out.
#   section-assembly.pl FILE...
use strict;
use warnings;

for my $file (@ARGV) {
    open(my $in, '<', $file) or die "$file: $!\n";
    my @lines = <$in>;
    close($in);

    my ($key) = map { /^\.globl\s+(\w+)/ ? $1 : () } @lines or die "$file: no global routine\n";
    my $text = ".section\t.text\$$key,\"xr\",one_only,$key\n";
    my $dropping = 0;
    open(my $out, '>', $file) or die "$file: $!\n";
    for my $line (@lines) {
        if ($line =~ /^\.(text|data|section|comm)\b/) {
            $dropping = $line =~ /^\.section\s+\.(pdata|xdata|ctors)/ ? 1 : 0;
            $line = $text if $line =~ /^\.text/;
        }
        print $out $line unless $dropping;
    }
    close($out) or die "$file: $!\n";
}
