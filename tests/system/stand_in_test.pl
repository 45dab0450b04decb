#!/usr/bin/perl
# Starts the built executable as an ordinary user, with recording stand-ins for the outside tools.
# Usage: stand_in_test.pl MARROWVAN STAND_IN
use strict;
use warnings;
use File::Copy qw(copy);
use File::Temp qw(tempdir);
use Test::More;

my ($marrowvan, $stand_in) = @ARGV;
my @tools = qw(sh-elf-objcopy scramble mkisofs cdi4dc);
my $usage = "Marrowvane 0.1\nUsage: marrowvan.exe "
    . "[--cdi <dj_file>] [--dir <sb_dir>] [--cdvol <cd_volume>] [--coder <your_name>]\n";
my $access_error = "Cannot read/write file - Already in use\n";
my $user = 65534;

sub spew { my ($path, $text) = @_; open my $f, '>:raw', $path or die "$path: $!"; print $f $text }
sub slurp { open my $f, '<:raw', $_[0] or return ''; local $/; <$f> // '' }
sub names { opendir my $d, $_[0] or die "$_[0]: $!"; join ' ', sort grep { !/^\.\.?$/ } readdir $d }

# A portable folder of stand-ins, a folder to selfboot with one ELF file, an older image, a place for
# temporary files; %s in the names of a row stands for the folder that holds them all.
sub desk {
    my $root = tempdir(DIR => $_[0] // '/tmp', CLEANUP => 1);
    my %desk = (root => $root, app => "$root/app", game => "$root/my game", cdi => "$root/out/demo.cdi", temp => "$root/temp");
    mkdir $_ or die "$_: $!" for @desk{qw(app game temp)}, "$root/out";
    copy($marrowvan, "$desk{app}/marrowvan") or die "$marrowvan: $!";
    copy($stand_in, "$desk{app}/$_") or die "$stand_in: $!" for @tools;
    chmod 0755, map { "$desk{app}/$_" } 'marrowvan', @tools;
    spew("$desk{app}/IP.TMPL", 't' x 32768);
    spew("$desk{game}/demo.elf", "\x7FELF");
    spew($desk{cdi}, 'older');
    return \%desk;
}

# Runs the executable without a terminal; gives its exit status and what it said.
sub start {
    my ($desk, @arguments) = @_;
    system 'chown', '-hR', "$user:$user", $desk->{root} if $> == 0;
    pipe my $from, my $to or die $!;
    my $process = fork // die $!;
    if ($process == 0) {
        open STDIN, '<', '/dev/null';
        open STDOUT, '>', '/dev/null';
        open STDERR, '>&', $to;
        become_user($desk);
        exec "$desk->{app}/marrowvan", @arguments;
    }
    close $to;
    my $said = do { local $/; <$from> } // '';
    waitpid $process, 0;
    return ($?, $said);
}

sub become_user {
    my ($desk) = @_;
    if ($> == 0) { $( = $user; $) = "$user $user"; $< = $> = $user }
    $SIG{INT} = 'DEFAULT';
    delete @ENV{qw(DISPLAY WAYLAND_DISPLAY)};
    @ENV{qw(TMPDIR PATH)} = ($desk->{temp}, '/nonexistent');
}

sub build { my ($desk) = @_; start($desk, '--dir', $desk->{game}, '--cdi', $desk->{cdi}) }

subtest 'the tools get their arguments to the character' => sub {
    my $desk = desk();
    my ($game, $app, $temp) = (@$desk{qw(game app)}, "$desk->{temp}/marrowvan-" . ($> ? $> : $user));
    is_deeply [start($desk, '--dir', $game, '--cdi', $desk->{cdi}, '--cdvol', 'My  Volume')], [0, ''];
    is slurp("$app/log"), <<END;
sh-elf-objcopy [-O] [binary] [-R] [.stack] [$game/demo.elf] [$temp/1ST_READ_UNSCRAMBLED.BIN]
scramble [$temp/1ST_READ_UNSCRAMBLED.BIN] [$game/1ST_READ.BIN]
mkisofs [-G] [$app/IP.BIN] [-C] [0,11702] [-J] [-l] [-r] [-V] [My  Volume] [-o] [$temp/data.iso] [$game] IP.BIN is here
cdi4dc [$temp/data.iso] [$desk->{cdi}]
END
    is names($game), '1ST_READ.BIN IP.BIN';
    is slurp($desk->{cdi}), 'made by cdi4dc';
    is names($temp), '', 'nothing stays in the temporary folder';

    $desk = desk();
    unlink "$desk->{game}/demo.elf";
    spew("$desk->{game}/1ST_READ.BIN", 'PORTDEV INFOENBLSTATRADRTOUTDRQCFUNCEND');
    is_deeply [build($desk)], [0, ''];
    like slurp("$desk->{app}/log"), qr{^scramble \[\Q$desk->{game}\E/1ST_READ.BIN\] \[\Q$desk->{game}\E/1ST_READ_scrambled.bin\]\n};
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
    push @rows, map { [$_, 'interrupt', @{$failure{$_}}] } qw(sh-elf-objcopy mkisofs cdi4dc);
    push @rows, map { [$_, 'exit1', '', $built, 0] } @tools;
    push @rows, ['mkisofs', 'old', 'Unknown error: mkisofs ISO time mismatch!', $built, 1],
        ['cdi4dc', 'old', 'Unknown error: cdi4dc CDI time mismatch!', $built, 0];
    for (@rows) {
        my ($tool, $behaviour, $message, $left, $older) = @$_;
        my $desk = desk();
        spew("$desk->{app}/$tool.does", $behaviour);
        unlink "$desk->{app}/$tool" if $behaviour eq 'missing';
        is_deeply [build($desk)], $message ? [256, "$message\n$usage"] : [0, ''], "$tool $behaviour";
        is names($desk->{game}), $left, 'what stays in the folder';
        is slurp($desk->{cdi}) eq 'older', !!$older, 'the older image';
        ok !-e "$desk->{app}/IP.BIN", 'IP.BIN is not left in AppDir';
    }
};

subtest 'targets that cannot be used' => sub {
    my $desk = desk();
    mkdir "$desk->{root}/$_" or die $! for 'empty', 'a"b', 'a--b';
    my @cdi = ('--cdi', $desk->{cdi});
    my $not_located = "The DC bootfile could not be located!\n$usage";
    for ([256, $usage], [0, $usage, '--help', '--dir', $desk->{game}, @cdi], [256, $usage, '--dir', $desk->{game}],
        [256, $usage, '--dir', "$desk->{root}/none", @cdi], [256, $usage, '--dir', "$desk->{root}/a\"b", @cdi],
        [256, $usage, '--dir', "$desk->{root}/a--b", @cdi], [256, $not_located, '--dir', "$desk->{root}/empty", @cdi],
        [256, $not_located, '--dir', "$desk->{game}/demo.elf", @cdi]) {
        my ($status, $said, @arguments) = @$_;
        is_deeply [start($desk, @arguments)], [$status, $said], "@arguments";
        is names($desk->{game}) . slurp("$desk->{app}/log"), 'demo.elf', 'nothing was touched';
    }
};

subtest 'bad input' => sub {
    my $boot = sub { my ($name, $bytes) = @_; sub { unlink "$_->{game}/demo.elf"; spew("$_->{game}/$name", $bytes) } };
    my $built = '1ST_READ.BIN IP.BIN';
    my $read_only_app = sub { spew("$_->{app}/log", ''); chmod 0555, $_->{app} };
    for (['an .elf that is none', $boot->('demo.elf', 'plain'), '', 'IP.BIN demo.elf'],
        ['zero bytes', $boot->('1ST_READ.BIN', ''), "Run-time error: '9'\n\nSubscript out of range\n", '1ST_READ.BIN'],
        ['three bytes', $boot->('1ST_READ.BIN', "\x7FEL"), '', $built],
        ['16 MiB', $boot->('1ST_READ.BIN', "\xAA" x (16 << 20)), '', $built],
        ['16 characters', $boot->('sixteen-long.elf', 'x'), '', 'IP.BIN sixteen-long.elf'],
        ['17 characters', $boot->('seventeen-long.elf', 'x'),
            "Run-time error: '5'\n\nInvalid procedure call or argument\n", 'seventeen-long.elf'],
        ['IP.BIN of 0 bytes', sub { spew("$_->{game}/IP.BIN", '') }, '', $built],
        ['IP.BIN of 111 bytes', sub { spew("$_->{game}/IP.BIN", 'i' x 111) }, '', $built],
        ['read-only boot file', sub { chmod 0400, "$_->{game}/demo.elf" }, $access_error, 'demo.elf'],
        ['read-only folder', sub { chmod 0555, $_->{game} }, "Unknown error: scramble failed!\n$usage", 'demo.elf'],
        ['read-only AppDir', $read_only_app, $access_error, $built],
        ['the same without a template', sub { unlink "$_->{app}/IP.TMPL"; &$read_only_app }, $access_error, '1ST_READ.BIN'],
        ['IP.BIN left in AppDir', sub { spew("$_->{app}/IP.BIN", 'left') },
            "Run-time error: '58'\n\nFile already exists\n", $built],
        ['IP.BIN that is a folder', sub { spew("$_->{game}/1ST_READ.BIN", 'x'); mkdir "$_->{game}/IP.BIN" },
            $access_error, $built],
        ['full disk', sub { symlink '/dev/full', "$_->{game}/IP.BIN" }, "Run-time error: '61'\n\nDisk full\n", $built],
        ['no temporary folder', sub { chmod 0555, $_->{temp} }, "Unknown error: sh-objcopy failed!\n$usage", 'demo.elf'],
        ['no folder for the image', sub { unlink $_->{cdi}; rmdir "$_->{root}/out" }, "Unknown error: cdi4dc failed!\n$usage",
            $built]) {
        my ($name, $prepare, $said, $left) = @$_;
        my $desk = desk();
        $prepare->() for $desk;
        is_deeply [build($desk)], [$said ? 256 : 0, $said], $name;
        is names($desk->{game}), $left, 'what stays in the folder';
        chmod 0755, @$desk{qw(app game temp)};
    }
};

subtest 'paths of all kinds' => sub {
    for my $name ('a b  c', 'a\\b', q(a-b'$x&;*?), "\xC3\xA9\xE6\x97\xA5", "\xFF\xFE\x80 x") {
        my $desk = desk();
        my ($folder, $cdi) = ("$desk->{root}/$name", "$desk->{root}/out/$name.cdi");
        rename $desk->{game}, $folder or die $!;
        is_deeply [start($desk, '--dir', $folder, '--cdi', $cdi)], [0, ''], $name;
        is slurp($cdi), 'made by cdi4dc';
        like slurp("$desk->{app}/log"), qr/\[-V\] \[\Q$name\E\]/;
    }
    my ($desk, $other) = (desk(), desk('/dev/shm'));
    isnt +(stat $desk->{app})[0], (stat $other->{app})[0], 'two volumes';
    system 'chown', '-R', "$user:$user", $desk->{root} if $> == 0;
    is_deeply [start($other, '--dir', $desk->{game}, '--cdi', $desk->{cdi})], [0, ''];
    is -s "$desk->{game}/IP.BIN", 32768, 'IP.BIN is back from the other volume';
};

subtest 'whoever starts it' => sub {
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
