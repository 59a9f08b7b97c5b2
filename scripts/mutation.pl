# Makes and runs the mutants for scripts/mutation, which describes the arguments and has built the copy of the
# tree. A mutant is one source compiled anew and linked with everything else as it was; it is caught when a
# test of its family fails, crashes or runs out of time.
use strict;
use warnings;
no warnings 'portable'; # constants of 64 bits
use Cwd qw(getcwd);
use Fcntl qw(:flock);
use File::Path qw(make_path remove_tree);
use JSON::PP;

my $root = getcwd();
my $folder = "$root/build/mutation";
my $tree = "$folder/tree";
my %option = (sample => 180, jobs => scalar(grep { /^processor/ } split /\n/, slurp('/proc/cpuinfo')));
my @wanted;
while (defined(my $argument = shift)) {
  if ($argument =~ /^--(all|list)$/) { $option{$1} = 1 }
  elsif (($ARGV[0] // '') =~ /^[1-9]\d*$/ && $argument =~ /^--(sample|jobs)$/) { $option{$1} = shift }
  elsif ($argument =~ /^-/ || !-f $argument) { print STDERR "mutation: bad argument: $argument\n"; exit 2 }
  else { push @wanted, $argument }
}

# Which tests matter to a source: the first row whose pattern its path matches. Suites of the unit tests are
# marked; each suite is run by itself and has its own limit of time.
my @tests = (
  [qr{trust/BuiltinKeys},   'unit BuiltinKeysTest', 'DataListTest'],
  [qr{trust/DataList},      'DataListTest', 'unit FirmwareImagePolicyTest'],
  [qr{trust/},              'unit FirmwareImagePolicyTest', 'FirmwareImageTest'],
  [qr{policy/Languages},    'unit LanguageTest', 'PolicyScreenTest'],
  [qr{policy/Message},      'PolicyScreenTest', 'PolicyMatrixTest'],
  [qr{policy/PolicyEvents|policy/Privileged}, 'unit ExchangeTest', 'PolicyEventTest', 'PolicyFetchTest'],
  [qr{policy/},             'PolicyMatrixTest', 'PolicyFetchTest', 'PolicyEventTest', 'unit ExchangeTest',
                            'PolicyScreenTest'],
  [qr{cipher/AesLayered},   'LayeredTest', 'unit PlatformTest'],
  [qr{cipher/Aes},          'AesTest'],
  [qr{cipher/Tdes},         'TdesTest'],
  [qr{digest/Hmac},         'HmacTest'],
  [qr{digest/},             'DigestTest', 'unit PlatformTest'],
  [qr{encoding/Base64},     'Base64Test'],
  [qr{encoding/Pbkdf2},     'Pbkdf2Test'],
  [qr{encoding/Random},     'RandomTest'],
  [qr{pubkey/Authenticode}, 'AuthenticodeTest'],
  [qr{pubkey/Dh},           'DhTest'],
  [qr{pubkey/Pem},          'PemTest'],
  [qr{pubkey/Pkcs7},        'Pkcs7Test', 'AuthenticodeTest'],
  [qr{pubkey/RsaRawKey},    'RsaRawKeyTest'],
  [qr{pubkey/Rsa},          'RsaTest'],
  [qr{pubkey/X509},         'X509Test'],
);

my %swap = (
  '==' => '!=', '!=' => '==', '<' => '<=', '<=' => '<', '>' => '>=', '>=' => '>', '&&' => '||', '||' => '&&',
  'TRUE' => 'FALSE', 'FALSE' => 'TRUE', 'true' => 'false', 'false' => 'true',
  'TPL_CALLBACK' => 'TPL_NOTIFY', 'TPL_NOTIFY' => 'TPL_CALLBACK', 'TPL_APPLICATION' => 'TPL_CALLBACK',
  'EFI_SUCCESS' => 'EFI_DEVICE_ERROR', 'EFI_INVALID_PARAMETER' => 'EFI_UNSUPPORTED',
);
my $status = join '|', map { "EFI_$_" } qw(SUCCESS INVALID_PARAMETER UNSUPPORTED BAD_BUFFER_SIZE
  BUFFER_TOO_SMALL NOT_READY DEVICE_ERROR OUT_OF_RESOURCES NOT_FOUND ACCESS_DENIED NOT_STARTED
  SECURITY_VIOLATION LOAD_ERROR);

sub slurp {
  my ($path) = @_;
  open my $file, '<', $path or die "$path: $!\n";
  local $/;
  return scalar <$file>;
}

sub spew {
  my ($path, $text) = @_;
  open my $file, '>', $path or die "$path: $!\n";
  print $file $text;
  close $file or die "$path: $!\n";
}

# The text with comments, literals and directives blanked out, place for place.
sub masked {
  my ($text) = @_;
  my $blank = sub { my $part = shift; $part =~ s/[^\n]/ /g; return $part };
  $text =~ s{(//[^\n]*|/\*.*?\*/|u?"(?:\\.|[^"\\])*"|'(?:\\.|[^'\\])*'|^\#[^\n]*|static_assert\([^;]*;)}{$blank->($1)}gems;
  return $text;
}

# The place behind the bracket that closes the one at $from.
sub behind {
  my ($text, $from) = @_;
  my $depth = 0;
  for my $place ($from .. length($text) - 1) {
    my $character = substr $text, $place, 1;
    $depth++ if $character eq '(';
    return $place + 1 if $character eq ')' && --$depth == 0;
  }
  die 'unbalanced';
}

# The operands of a condition between two places, split at its outermost operator of the lowest precedence.
sub operands {
  my ($mask, $from, $to) = @_;
  for my $operator ('||', '&&') {
    my ($depth, @cuts) = (0);
    for my $place ($from .. $to - 2) {
      my $character = substr $mask, $place, 1;
      $depth += $character eq '(' ? 1 : $character eq ')' ? -1 : 0;
      push @cuts, $place if $depth == 0 && substr($mask, $place, 3) =~ /^\Q$operator\E\s/;
    }
    next unless @cuts;
    my @starts = ($from, map { $_ + 2 } @cuts);
    my @ends = (@cuts, $to);
    return ($operator, map { [$starts[$_], $ends[$_]] } 0 .. $#starts);
  }
  return ('', [$from, $to]);
}

# The stretches of a source that are changed: all of trust/ and policy/, elsewhere the checks at the head of a
# service or of a routine that checks for several of them, and the limits that they check against.
sub stretches {
  my ($path, $mask) = @_;
  return [0, length $mask] if $path =~ m{^driver/(trust|policy)/};
  my @found;
  push @found, [$-[1], $+[1]] while $mask =~ /^(?:static )?constexpr UINTN \w*(?:Largest|Max|Limit)\w* = ([^;]+);/gm;
  while ($mask =~ /^[^\n]*\b(?:EFIAPI (?:Svc|HashRow)|(?:Ecb|Cbc|CheckBase64Arguments)\()[^;{]*\{\n(.*?)^\}/gms) {
    my ($from, $body) = ($-[1], $1);
    # Up to where the service starts to work.
    $body =~ s/^[^\n]*\b(?:\w*Handle|\w*Block|\w*_new|DropNumbers|ReplaceRsaComponent|Register\w+)\b[ (<].*//ms;
    push @found, [$from + $-[0], $from + $+[0]]
      while $body =~ /if \((?:[^{}]|\{\}|\n)*?\) \{\s*return [^;]+;\s*\}|^  (?:return|bool) [^;]+;/gm;
  }
  return @found;
}

# All mutants of a source, each [START, END, REPLACEMENT] in order.
sub mutations {
  my ($path, $text) = @_;
  my $mask = masked($text);
  my %made; # place and replacement, so that no change is made twice
  for my $stretch (stretches($path, $mask)) {
    my ($from, $to) = @$stretch;
    my $change = sub {
      my ($start, $end, $new) = @_;
      $made{sprintf '%08d %08d %s', $start, $end, $new} = [$start, $end, $new]
        if $start >= $from && $end <= $to && substr($text, $start, $end - $start) ne $new;
    };
    while ($mask =~ / (==|!=|<=|>=|<|>|&&|\|\|)(?=\s)/g) { $change->($-[1], $+[1], $swap{$1}) }
    while ($mask =~ /\b($status)\b/g) { $change->($-[1], $+[1], $swap{$1} // 'EFI_INVALID_PARAMETER') }
    while ($mask =~ /\b(TRUE|FALSE|true|false|TPL_\w+)\b/g) { $change->($-[1], $+[1], $swap{$1}) }
    while ($mask =~ /(?<![\w.'])(0x[0-9A-Fa-f]+|\d+)(?![\w.'])/g) {
      my ($start, $end, $number) = ($-[1], $+[1], $1);
      $change->($start, $end, $number =~ /^0x/ ? sprintf('0x%X', hex($number) + 1) : $number + 1);
    }
    while ($mask =~ /\b(?:if|return) ?(?=\()|\breturn (?=[^;]*(?:&&|\|\|))/g) {
      my $start = $+[0];
      my $if = substr($mask, $-[0], 2) eq 'if';
      next if !$if && substr($mask, $start, 1) eq '(';
      my $end = $if ? behind($mask, $start) - 1 : index($mask, ';', $start);
      $start++ if $if;
      $start = $start + length $1 if substr($mask, $start, $end - $start) =~ /^([^;()]*; )/; # if (A = B; C)
      my ($operator, @parts) = operands($mask, $start, $end);
      # A check that is dropped: it never refuses, or never holds back.
      for my $part (@parts) {
        my ($first, $last) = @$part;
        $first++ while substr($text, $first, 1) =~ /\s/;
        $last-- while substr($text, $last - 1, 1) =~ /\s/;
        $change->($first, $last, $operator eq '&&' ? 'true' : 'false');
      }
      my $whole = substr $text, $start, $end - $start;
      # One comparison alone is turned round above.
      $change->($start, $end, "!($whole)") unless !$operator && $whole =~ / (==|!=) /;
    }
    # A call alone in its line, left out.
    while ($mask =~ /[;{}]\s*\n\s+((?:\(void\))?(?!return\b)\w[\w.>:-]*\([^;{}]*\)(?=;\n))/g) { $change->($-[1], $+[1], '') }
  }
  return map { $made{$_} } sort keys %made;
}

sub flat {
  my ($text) = @_;
  $text =~ s/\s+/ /g;
  $text =~ s/^ | $//g;
  return $text;
}

# [PATH, LINE, TEXT, NAME]: the changed source, and "PATH: OLD -> NEW" with the lines that differ.
sub mutants {
  my ($path) = @_;
  my $text = slurp($path);
  return map {
    my ($start, $end, $new) = @$_;
    my $first = rindex($text, "\n", $start) + 1;
    my $last = index $text, "\n", $end;
    my $line = 1 + (substr($text, 0, $start) =~ tr/\n//);
    my $changed = substr($text, $first, $start - $first) . $new . substr($text, $end, $last - $end);
    [$path, $line, substr($text, 0, $start) . $new . substr($text, $end),
      "$path: " . flat(substr $text, $first, $last - $first) . ' -> ' . flat($changed)];
  } mutations($path, $text);
}

my @sources = @wanted ? @wanted
  : (sort(glob 'driver/{trust,policy,cipher,digest,encoding,pubkey}/*.cpp'), 'driver/encoding/Base64Text.h');
my @all = map { mutants($_) } @sources;
my @chosen = @all;
if (!$option{all} && !@wanted && @all > $option{sample}) {
  @chosen = map { $all[int($_ * @all / $option{sample})] } 0 .. $option{sample} - 1;
}
if ($option{list}) {
  print "$_->[0]:$_->[1]: ", $_->[3] =~ s/^[^:]*: //r, "\n" for @chosen;
  printf "%d of %d mutants\n", scalar @chosen, scalar @all;
  exit 0;
}

# The copy's commands: how a source of the driver is compiled, and how the programs are linked.
chdir "$tree/build" or die "$tree/build: $!\n";
my %compile = map { $_->{file} => $_->{command} } @{decode_json(slurp('compile_commands.json'))};
my %link;
for my $program (qw(services/service_tests units/unit_tests)) {
  $link{$program} = (split /\n/, `ninja -t commands tests/$program`)[-1];
}
my $renames = "$tree/cmake/openssl/runtime-names.txt";

# Runs a command of the shell with a limit of processor time, and one of time for what only waits. Its exit
# code, and whether it ran out of either.
sub run {
  my ($limit, $command, $log) = @_;
  system 'timeout', '-k', '1', 1800, 'bash', '-c', "ulimit -c 0; ulimit -t $limit; { $command; } > $log 2>&1";
  my $code = $? >> 8 || $? & 127;
  return ($code, $code == 124 || $code == 128 + 24 || $code == 128 + 9);
}

my %seconds; # of processor time that each suite takes
sub suites {
  my ($path) = @_;
  my ($row) = grep { $path =~ $_->[0] } @tests;
  return @$row[1 .. $#$row];
}

# The command that runs a suite with a program.
sub suite {
  my ($program, $suite) = @_;
  my $image = "$root/build/firmware/CryptoServices.efi"; # some look at its bytes
  return "$program --driver=linked --image=$image --gtest_fail_fast --gtest_filter='" . $suite =~ s/^unit //r . ".*'";
}

# The processor time that the unchanged driver takes for a suite, which must pass.
sub measure {
  my ($suite, $place) = @_;
  my $program = 'tests/' . ($suite =~ /^unit / ? 'units/unit_tests' : 'services/service_tests');
  my $before = (times)[2];
  (run(300, suite($program, $suite), "$place/log"))[0] == 0 && slurp("$place/log") =~ /\[  PASSED  \] [1-9]/
    or die "the unchanged driver fails $suite, see $place/log\n";
  return (times)[2] - $before;
}

# Has the workers call $do with each item and a folder of their own; what it answers, in the items' order.
sub share {
  my ($do, @items) = @_;
  spew("$folder/next", '0');
  spew("$folder/answers", '');
  my @workers = map {
    my $place = "$folder/worker$_";
    my $worker = fork // die "fork: $!\n";
    if ($worker == 0) {
      make_path($place);
      for (;;) {
        open my $next, '+<', "$folder/next" or die "next: $!\n";
        flock $next, LOCK_EX;
        my $index = <$next>;
        seek $next, 0, 0;
        print $next $index + 1;
        close $next;
        exit 0 if $index >= @items;
        my $answer = $do->($items[$index], $place);
        open my $answers, '>>', "$folder/answers" or die "answers: $!\n";
        syswrite $answers, "$index\t$answer\n";
      }
    }
    $worker;
  } 1 .. $option{jobs};
  for my $worker (@workers) {
    waitpid $worker, 0;
    exit 2 if $? != 0;
  }
  my %answers = map { split /\t/, $_, 2 } split /\n/, slurp("$folder/answers");
  return @answers{0 .. $#items};
}

# Compiles a changed source, in every unit that it belongs to, into the worker's own archive.
sub compile {
  my ($path, $text, $place) = @_;
  remove_tree("$place/driver", "$place/objects");
  make_path("$place/objects", "$place/" . $path =~ s{/[^/]+$}{}r);
  spew("$place/$path", $text);
  system 'cp', "$tree/build/driver/libdriver.a", "$place/libdriver.a";
  my @units = $path =~ /\.h$/ ? map { chomp; $_ } `cd $root && grep -rl --include=*.cpp '"$path"' driver` : $path;
  for my $unit (@units) {
    my $command = $compile{"$tree/$unit"} // die "$unit is not compiled\n";
    my $object = "$place/objects/" . $unit =~ s{.*/}{}r . '.o';
    my $source = -f "$place/$unit" ? "$place/$unit" : "$tree/$unit";
    $command =~ s{ -o \S+ -c \S+$}{ -w -o $object -c $source} or die $command;
    # The changed tree comes before the copy.
    $command =~ s{ -I\Q$tree\E }{ -I$place -I$tree } or die $command;
    return 0 if (run(60, "$command && llvm-objcopy --redefine-syms=$renames $object", "$place/log"))[0];
    (run(60, "llvm-ar r $place/libdriver.a $object", "$place/log"))[0] == 0 or die "llvm-ar failed\n";
  }
  return 1;
}

sub try {
  my ($mutant, $place) = @_;
  my ($path, undef, $text) = @$mutant;
  compile($path, $text, $place) or return 'not compiled';
  my %linked;
  for my $suite (suites($path)) {
    my $program = $suite =~ /^unit / ? 'units/unit_tests' : 'services/service_tests';
    if (!$linked{$program}++) {
      (my $command = $link{$program}) =~ s{ driver/libdriver\.a\b}{ $place/libdriver.a}g;
      my $name = $program =~ s{.*/}{}r;
      $command =~ s{ -o \S+}{ -o $place/$name} or die $command;
      return 'not compiled' if (run(60, $command, "$place/log"))[0];
    }
    my $limit = int(3 + 3 * $seconds{$suite});
    my ($code, $late) = run($limit, suite("$place/" . $program =~ s{.*/}{}r, $suite), "$place/log");
    return $late ? 'out of time' : 'caught' if $code != 0;
  }
  return 'SURVIVED';
}

my $started = time;
my @suites = sort keys %{{map { $_ => 1 } map { suites($_->[0]) } @chosen}};
@seconds{@suites} = share(\&measure, @suites);
my @results = share(\&try, @chosen);
spew("$folder/report.txt", join '', map {
  "$results[$_]\t$chosen[$_][0]:$chosen[$_][1]: " . ($chosen[$_][3] =~ s/^[^:]*: //r) . "\n"
} 0 .. $#chosen);

my (%equivalent, $reason);
for my $line (split /\n/, slurp("$root/tests/mutation/equivalent.txt")) {
  if ($line =~ /^# (.*)/) { $reason = defined $reason ? "$reason $1" : $1 }
  elsif ($line =~ /\S/) { $equivalent{flat($line)} = $reason }
  else { undef $reason }
}
my %count = map { $_ => 0 } 'caught', 'out of time', 'not compiled', 'SURVIVED', 'equivalent';
for my $index (0 .. $#chosen) {
  my ($path, $line, undef, $name) = @{$chosen[$index]};
  my $result = $results[$index];
  my $known = $result eq 'SURVIVED' ? $equivalent{$name} : undef;
  $count{$known ? 'equivalent' : $result}++;
  print "survived: $path:$line: ", $name =~ s/^[^:]*: //r, $known ? " (equivalent: $known)" : '', "\n"
    if $result eq 'SURVIVED';
}
my $caught = $count{caught} + $count{'out of time'};
my $counted = $caught + $count{SURVIVED};
my $rate = $counted ? 100 * $caught / $counted : 100;
printf "%d of %d mutants in %d s: %d caught (%d by time), %d survived, %d equivalent, %d not compiled\n",
  scalar @chosen, scalar @all, time - $started, $caught, @count{'out of time', 'SURVIVED', 'equivalent', 'not compiled'};
printf "%.1f %% caught\n", $rate;
exit($rate >= 95 ? 0 : 1);
