#!/usr/bin/perl
# Starts the built executable as an ordinary user, with recording stand-ins for the outside tools.
# On Windows, Wine runs it, and a helper presses OK in its message boxes and tells what they said.
# Usage: stand_in_test.pl MARROWVAN STAND_IN [WINE ANSWER]
use strict;
use warnings;
use File::Copy qw(copy);
use File::Temp qw(tempdir);
use POSIX ();
use Test::More;

my ($marrowvan, $stand_in, $wine, $answer) = @ARGV;
my $exe = $wine ? '.exe' : '';
my @tools = qw(sh-elf-objcopy scramble mkisofs cdi4dc);
my $usage = "Marrowvane 0.1\nUsage: marrowvan.exe "
    . "[--cdi <dj_file>] [--dir <sb_dir>] [--cdvol <cd_volume>] [--coder <your_name>]\n";
my $access_error = "Cannot read/write file - Already in use\n";
my $user = 65534;
my $windows_temp = $wine && qx{$wine cmd /c 'echo %TEMP%' 2>/dev/null} =~ s/[\r\n]+$//r;

# A path as the host has it, and a tool's command line (paths between quotes) as its stand-in notes it.
sub host { my ($path) = @_; return $path if !$wine; "Z:$path" =~ tr{/}{\\}r }
sub noted {
    my ($desk, $tool, $line) = @_;
    my $temp = $wine ? $windows_temp : "$desk->{temp}/marrowvan-" . ($> ? $> : $user);
    $line =~ s{"/}{'"' . ($wine ? 'Z:/' : '/')}ge;
    $line =~ tr{/}{\\} if $wine;
    $line =~ s{TEMP(.)}{$temp . ($wine ? '\\' : '/')}ge;
    return "$tool \"" . host("$desk->{app}/$tool.exe") . "\" $line" if $wine;
    return "$tool" . $line =~ s{(?:"([^"]*)"|([^" ]+)) ?}{' [' . ($1 // $2) . ']'}ger;
}

sub spew { my ($path, $text) = @_; open my $f, '>:raw', $path or die "$path: $!"; print $f $text }
sub slurp { open my $f, '<:raw', $_[0] or return ''; local $/; <$f> // '' }
sub names { opendir my $d, $_[0] or die "$_[0]: $!"; join ' ', sort grep { !/^\.\.?$/ } readdir $d }

# A portable folder of stand-ins, a folder to selfboot with one ELF file, an older image, a place for
# temporary files; %s in the names of a row stands for the folder that holds them all.
sub desk {
    my $root = tempdir(DIR => $_[0] // '/tmp', CLEANUP => 1);
    my %desk = (root => $root, app => "$root/app", game => "$root/my game", cdi => "$root/out/demo.cdi", temp => "$root/temp");
    mkdir $_ or die "$_: $!" for @desk{qw(app game temp)}, "$root/out";
    copy($marrowvan, "$desk{app}/marrowvan$exe") or die "$marrowvan: $!";
    copy($stand_in, "$desk{app}/$_$exe") or die "$stand_in: $!" for @tools;
    chmod 0755, map { "$desk{app}/$_$exe" } 'marrowvan', @tools;
    spew("$desk{app}/IP.TMPL", 't' x 32768);
    spew("$desk{game}/demo.elf", "\x7FELF");
    spew($desk{cdi}, 'older');
    return \%desk;
}

# Runs the executable without a terminal; gives its exit status and what it said.
sub start {
    my ($desk, @arguments) = @_;
    return start_windows($desk, @arguments) if $wine;
    system 'chown', '-hR', "$user:$user", $desk->{root} if $> == 0;
    pipe my $from, my $to or die $!;
    my $process = fork // die $!;
    if ($process == 0) {
        open STDIN, '<', '/dev/null';
        open STDOUT, '>', '/dev/null';
        open STDERR, '>&', $to;
        become_user($desk);
        exec "$desk->{app}/marrowvan", @arguments or POSIX::_exit(127);
    }
    close $to;
    my $said = do { local $/; <$from> } // '';
    waitpid $process, 0;
    return ($?, $said);
}

sub start_windows {
    my ($desk, @arguments) = @_;
    my @lock = $desk->{lock} ? ('--lock', host($desk->{lock})) : ();
    open my $from, '-|', $wine, $answer, @lock, host("$desk->{app}/marrowvan.exe"), @arguments or die $!;
    my $said = do { local $/; <$from> } // '';
    close $from;
    $said =~ s/\r//g;
    $said =~ s/^\[icon\] (Unknown error|The DC bootfile)/$1/mg;  # the icon that these have, and these alone
    return ($?, $said);
}

sub become_user {
    my ($desk) = @_;
    if ($> == 0) { $( = $user; $) = "$user $user"; $< = $> = $user }
    $SIG{INT} = 'DEFAULT';
    delete @ENV{qw(DISPLAY WAYLAND_DISPLAY)};
    @ENV{qw(TMPDIR PATH)} = ($desk->{temp}, '/nonexistent');
}

sub build { my ($desk) = @_; start($desk, '--dir', host($desk->{game}), '--cdi', host($desk->{cdi})) }

subtest 'the tools get their arguments to the character' => sub {
    my $desk = desk();
    my ($game, $app, $cdi) = @$desk{qw(game app cdi)};
    is_deeply [start($desk, '--dir', host($game), '--cdi', host($cdi), '--cdvol', 'My  Volume')], [0, ''];
    my $visible = $wine ? ' visible' : '';
    is slurp("$app/log"), join '', map { "$_\n" }
        noted($desk, 'sh-elf-objcopy', qq(-O binary -R .stack "$game/demo.elf" "TEMP/1ST_READ_UNSCRAMBLED.BIN")) . $visible,
        noted($desk, 'scramble', qq("TEMP/1ST_READ_UNSCRAMBLED.BIN" "$game/1ST_READ.BIN")) . $visible,
        noted($desk, 'mkisofs', qq(-G "$app/IP.BIN" -C 0,11702 -J -l -r -V "My  Volume" -o "TEMP/data.iso" "$game"))
            . "$visible IP.BIN is here",
        noted($desk, 'cdi4dc', qq("TEMP/data.iso" "$cdi")) . $visible;
    unlink "$app/log";
    start($desk, '--dir', host("$game/"), '--cdi', host($cdi), '--cdvol');
    like slurp("$app/log"), qr/-V\]? ["\[]--cdvol["\]] .* [\["][^"\[]*my game[\/\\]+["\]]/, 'a bare option, a folder with its separator';
    start($desk, '--dir', host("$game/"), '--cdi', host($cdi));
    like slurp("$app/log"), qr/-V\]? (?:""|\[\]) /, 'no name behind the separator' if !$wine;
    is names($game), '1ST_READ.BIN IP.BIN';
    is slurp($cdi), 'made by cdi4dc';
    is names("$desk->{temp}/marrowvan-" . ($> ? $> : $user)), '', 'nothing stays in the temporary folder' if !$wine;

    $desk = desk();
    unlink "$desk->{game}/demo.elf";
    spew("$desk->{game}/1ST_READ.BIN", 'PORTDEV INFOENBLSTATRADRTOUTDRQCFUNCEND');
    is_deeply [build($desk)], [0, ''];
    is +(split /\n/, slurp("$desk->{app}/log"))[0],
        noted($desk, 'scramble', qq("$desk->{game}/1ST_READ.BIN" "$desk->{game}/1ST_READ_scrambled.bin")) . ($wine ? ' hidden' : '');
    is slurp("$desk->{game}/1ST_READ.BIN"), 'made by scramble';
};

subtest 'a tool that does not do its work' => sub {
    my $built = '1ST_READ.BIN IP.BIN';
    my %failure = (  # its message, what stays in the folder, and whether the older image does
        'sh-elf-objcopy' => ['Unknown error: sh-objcopy failed!', 'demo.elf', 1],
        scramble => ['Unknown error: scramble failed!', '', 1],
        mkisofs => ['Unknown error: mkisofs failed!', $built, 1],
        cdi4dc => ['Unknown error: cdi4dc failed!', $built, 0]);
    my @rows = map { my $tool = $_; map { [$tool, $_, @{$failure{$tool}}] } qw(missing nothing kill) } @tools;
    push @rows, map { [$_, 'interrupt', @{$failure{$_}}] } qw(sh-elf-objcopy mkisofs cdi4dc) if !$wine;
    push @rows, map { [$_, 'exit1', '', $built, 0] } @tools;
    push @rows, ['mkisofs', 'old', 'Unknown error: mkisofs ISO time mismatch!', $built, 1],
        ['cdi4dc', 'old', 'Unknown error: cdi4dc CDI time mismatch!', $built, 0];
    for (@rows) {
        my ($tool, $behaviour, $message, $left, $older) = @$_;
        my $desk = desk();
        spew("$desk->{app}/$tool.does", $behaviour);
        unlink "$desk->{app}/$tool$exe" if $behaviour eq 'missing';
        is_deeply [build($desk)], $message ? [256, "$message\n$usage"] : [0, ''], "$tool $behaviour";
        is names($desk->{game}), $left, 'what stays in the folder';
        is slurp($desk->{cdi}) eq 'older', !!$older, 'the older image';
        ok !-e "$desk->{app}/IP.BIN", 'IP.BIN is not left in AppDir';
    }
};

subtest 'targets that cannot be used' => sub {
    my $desk = desk();
    mkdir "$desk->{root}/$_" or die $! for 'empty', 'a"b', 'a--b';
    my @cdi = ('--cdi', host($desk->{cdi}));
    my $not_located = "The DC bootfile could not be located!\n$usage";
    my @rows = ([0, $usage, '--help', '--dir', host($desk->{game}), @cdi], [256, $usage, '--dir', host("$desk->{root}/none"), @cdi],
        [256, $usage, '--dir', host("$desk->{root}/a--b"), @cdi], [256, $not_located, '--dir', host("$desk->{root}/empty"), @cdi],
        [256, $not_located, '--dir', host("$desk->{game}/demo.elf"), @cdi]);
    push @rows, [256, $usage], [256, $usage, '--dir', $desk->{game}], [256, $usage, '--dir', "$desk->{root}/a\"b", @cdi] if !$wine;
    for (@rows) {
        my ($status, $said, @arguments) = @$_;
        is_deeply [start($desk, @arguments)], [$status, $said], "@arguments";
        is names($desk->{game}) . slurp("$desk->{app}/log"), 'demo.elf', 'nothing was touched';
    }
};

subtest 'bad input' => sub {
    my $boot = sub { my ($name, $bytes) = @_; sub { unlink "$_->{game}/demo.elf"; spew("$_->{game}/$name", $bytes) } };
    my $built = '1ST_READ.BIN IP.BIN';
    my $read_only_app = sub { spew("$_->{app}/log", ''); chmod 0555, $_->{app} };
    my @rows = (['an .elf that is none', $boot->('demo.elf', 'plain'), '', 'IP.BIN demo.elf'],
        ['zero bytes', $boot->('1ST_READ.BIN', ''), "Run-time error: '9'\n\nSubscript out of range\n", '1ST_READ.BIN'],
        ['three bytes', $boot->('1ST_READ.BIN', "\x7FEL"), '', $built],
        ['16 MiB', $boot->('1ST_READ.BIN', "\xAA" x (16 << 20)), '', $built],
        ['16 characters', $boot->('sixteen-long.elf', 'x'), '', 'IP.BIN sixteen-long.elf'],
        ['17 characters', $boot->('seventeen-long.elf', 'x'),
            "Run-time error: '5'\n\nInvalid procedure call or argument\n", 'seventeen-long.elf'],
        ['17 characters beside an IP.BIN', sub { $boot->('seventeen-long.elf', 'x')->(); spew("$_->{game}/IP.BIN", 'i' x 32768) },
            "Run-time error: '5'\n\nInvalid procedure call or argument\n", 'IP.BIN seventeen-long.elf'],
        ['NULs behind a name', sub { $boot->('GAME', 'PORTDEV INFOENBLSTATRADRTOUTDRQCFUNCEND')->();
            spew("$_->{game}/IP.BIN", 'i' x 96 . "GAME\0\0\0\0\0\0\0\0\0\0\0\0") }, '', 'GAME IP.BIN'],
        ['IP.BIN of 0 bytes', sub { spew("$_->{game}/IP.BIN", '') }, '', $built],
        ['IP.BIN of 111 bytes', sub { spew("$_->{game}/IP.BIN", 'i' x 111) }, '', $built],
        ['read-only IP.BIN', sub { spew("$_->{game}/IP.BIN", 'i' x 111); chmod 0444, "$_->{game}/IP.BIN" }, $access_error, 'IP.BIN demo.elf'],
        ['IP.BIN left in AppDir', sub { spew("$_->{app}/IP.BIN", 'left') },
            "Run-time error: '58'\n\nFile already exists\n", $built],
        ['IP.BIN that is a folder', sub { spew("$_->{game}/1ST_READ.BIN", 'x'); mkdir "$_->{game}/IP.BIN" },
            $access_error, $built],
        ['no folder for the image', sub { unlink $_->{cdi}; rmdir "$_->{root}/out" }, "Unknown error: cdi4dc failed!\n$usage",
            $built],
        ['read-only boot file', sub { chmod 0400, "$_->{game}/demo.elf" }, $access_error, 'demo.elf']);
    push @rows, ['read-only folder', sub { chmod 0555, $_->{game} }, "Unknown error: scramble failed!\n$usage", 'demo.elf'],
        ['read-only AppDir', $read_only_app, $access_error, $built],
        ['the same without a template', sub { unlink "$_->{app}/IP.TMPL"; &$read_only_app }, $access_error, '1ST_READ.BIN'],
        ['full disk', sub { symlink '/dev/full', "$_->{game}/IP.BIN" }, "Run-time error: '61'\n\nDisk full\n", $built],
        ['no temporary folder', sub { chmod 0555, $_->{temp} }, "Unknown error: sh-objcopy failed!\n$usage", 'demo.elf']
        if !$wine;
    push @rows, ['locked boot file', sub { $_->{lock} = "$_->{game}/demo.elf" }, "File locked by another application\n", 'demo.elf']
        if $wine;
    for (@rows) {
        my ($name, $prepare, $said, $left) = @$_;
        my $desk = desk();
        $prepare->() for $desk;
        is_deeply [build($desk)], [$said ? 256 : 0, $said], $name;
        is names($desk->{game}), $left, 'what stays in the folder';
        chmod 0755, @$desk{qw(app game temp)};
    }
};

subtest 'paths of all kinds' => sub {
    for my $name ('a b  c', "caf\xC3\xA9", $wine ? () : ('a\\b', q(a-b'$x&;*?), "\xE6\x97\xA5", "\xFF\xFE\x80 x")) {
        my $desk = desk();
        my ($folder, $cdi) = ("$desk->{root}/$name", "$desk->{root}/out/$name.cdi");
        rename $desk->{game}, $folder or die $!;
        is_deeply [start($desk, '--dir', host($folder), '--cdi', host($cdi))], [0, ''], $name;
        is slurp($cdi), 'made by cdi4dc';
        my $in_code_page = $wine ? $name =~ s/\xC3\xA9/\xE9/r : $name;
        like slurp("$desk->{app}/log"), qr/-V\]? ["\[]\Q$in_code_page\E["\]] /;
    }
    return if $wine;
    my ($desk, $other) = (desk(), desk('/dev/shm'));
    isnt +(stat $desk->{app})[0], (stat $other->{app})[0], 'two volumes';
    system 'chown', '-R', "$user:$user", $desk->{root} if $> == 0;
    is_deeply [start($other, '--dir', $desk->{game}, '--cdi', $desk->{cdi})], [0, ''];
    is -s "$desk->{game}/IP.BIN", 32768, 'IP.BIN is back from the other volume';
};

subtest 'whoever starts it' => sub {
    plan skip_all => 'this is about descriptors and signals' if $wine;
    my $desk = desk();
    my $odd = "$desk->{root}/x--help--dir nowhere";
    rename $desk->{app}, $odd or die $!;
    is_deeply [build({%$desk, app => $odd})], [0, ''], 'the name of its own folder does not count as options';

    $desk = desk();
    unlink "$desk->{game}/demo.elf";
    spew("$desk->{game}/1ST_READ.BIN", '');
    system "TMPDIR='$desk->{temp}' '$desk->{app}/marrowvan' --dir '$desk->{game}' --cdi x <&- >&- 2>&-";
    is $?, 256;
    is -s "$desk->{game}/1ST_READ.BIN", 0, 'a message never goes into a file';
    is system('bash', '-c', "'$desk->{app}/marrowvan' --help </dev/null 2> >(exec true); exit \$?"), 0, 'nobody listens';
};

subtest 'questions at a terminal' => sub {
    plan skip_all => 'the Windows program has none' if $wine;
    my $desk = desk();
    my ($ask_folder, $ask_file) = ('Choose the folder to selfboot...', 'Save your DiscJuggler file as...');
    system 'chown', '-R', "$user:$user", $desk->{root} if $> == 0;
    for (["\n\n", 1, $ask_folder, 'Usage: '], ["$desk->{game}\n\n\n", 1, $ask_folder, $ask_file, 'Usage: '],
        ["$desk->{game}\n$desk->{cdi}\n", 0, $ask_folder, $ask_file]) {
        my ($typed, $status, @shown) = @$_;
        spew("$desk->{root}/typed", $typed);
        my $process = open(my $from, '-|') // die $!;
        if ($process == 0) {
            my $script = '/usr/bin/script';
            open STDIN, '<', "$desk->{root}/typed";
            become_user($desk);
            exec $script, '-qec', "'$desk->{app}/marrowvan'", '/dev/null';
        }
        my $terminal = do { local $/; <$from> } // '';
        close $from;
        is $? >> 8, $status;
        is_deeply [grep { index($terminal, $_) >= 0 } $ask_folder, $ask_file, 'Usage: '], \@shown;
    }
    is slurp($desk->{cdi}), 'made by cdi4dc';
};

done_testing;
