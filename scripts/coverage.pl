# coverage.pl EXPORT REASONS LIST: sums up what `llvm-cov export` wrote, by folder of driver/, and writes to
# LIST each branch that was not taken as "FILE:LINE: CONDITION never true|false: REASON".
# REASONS holds lines "FILE: CONDITION never true|false", each below the "# REASON" that it belongs to, and an
# empty line before the next reason.
# Exits with 1 when a branch has no reason.
use strict;
use warnings;
use JSON::PP;

my ($export, $reasons, $list) = @ARGV;

sub slurp {
  my ($path) = @_;
  open my $file, '<', $path or die "$path: $!\n";
  local $/;
  return scalar <$file>;
}

# "a ? b" of several lines as one.
sub flat {
  my ($text) = @_;
  $text =~ s/\s+/ /g;
  $text =~ s/^ | $//g;
  return $text;
}

sub percent {
  my ($part, $whole) = @_;
  return $whole ? sprintf '%6d of %6d  %6.2f %%', $part, $whole, 100 * $part / $whole : sprintf '%25s', '';
}

# What stands between two places of a source, lines and columns counted from 1.
sub between {
  my ($lines, $line, $column, $last, $end) = @_;
  return substr $lines->[$line - 1], $column - 1, $end - $column if $line == $last;
  return join ' ', substr($lines->[$line - 1], $column - 1), @$lines[$line .. $last - 2],
    substr($lines->[$last - 1], 0, $end - 1);
}

my (%reason, $current);
for my $line (split /\n/, slurp($reasons)) {
  if ($line =~ /^# (.*)/) { $current = defined $current ? "$current $1" : $1 }
  elsif ($line =~ /\S/) { $reason{flat($line)} = $current }
  else { undef $current }
}

my (%sum, @uncovered, %seen);
for my $file (@{decode_json(slurp($export))->{data}[0]{files}}) {
  next unless $file->{filename} =~ m{(driver/(\w+)/[^/]+)$};
  my ($name, $folder) = ($1, $2);
  for my $kind (qw(lines branches)) {
    for my $row ($folder, 'total') {
      $sum{$row}{$kind}[0] += $file->{summary}{$kind}{covered};
      $sum{$row}{$kind}[1] += $file->{summary}{$kind}{count};
    }
  }
  my (%taken, @order);
  for my $branch (@{$file->{branches}}) {
    my $place = join ' ', @$branch[0 .. 3];
    push @order, $place unless $taken{$place};
    $taken{$place}[$_] += $branch->[4 + $_] for 0, 1;
  }
  my @source = split /\n/, slurp($name);
  for my $place (sort { (split ' ', $a)[0] <=> (split ' ', $b)[0] } @order) {
    my $condition = flat(between(\@source, split ' ', $place));
    my ($line) = split ' ', $place;
    for my $side (0, 1) {
      next if $taken{$place}[$side];
      my $key = "$name: $condition never " . ($side ? 'false' : 'true');
      $seen{$key} = 1;
      push @uncovered, ["$name:$line: $condition never " . ($side ? 'false' : 'true'), $reason{$key}];
    }
  }
}

open my $out, '>', $list or die "$list: $!\n";
print $out "$_->[0]: ", $_->[1] // 'NO REASON GIVEN', "\n" for @uncovered;
close $out;

printf "%-10s %25s    %25s\n", 'driver/', 'lines', 'branches';
for my $row (sort { ($a eq 'total') <=> ($b eq 'total') || $a cmp $b } keys %sum) {
  printf "%-10s %s    %s\n", $row, map { percent(@{$sum{$row}{$_}}) } qw(lines branches);
}
my @unexplained = grep { !defined $_->[1] } @uncovered;
print "no test takes: $_->[0]\n" for @unexplained;
print "taken after all: $_\n" for grep { !$seen{$_} } sort keys %reason;
printf "%d branches not taken, %d of them without a reason (%s)\n", scalar @uncovered, scalar @unexplained, $list;
exit(@unexplained ? 1 : 0);
