#!/usr/bin/perl
# The main job with the real tools, from the example's ELF file to a program that speaks on a processor, and
# the companion tools by themselves.
# For the Windows build, Wine runs the system and the companions; the two tools of this machine are reached
# over a bridge. Its image must be that of the other build (BIN_FOLDER_HERE) in everything but dates.
# Usage: main_job_test.pl BIN_FOLDER HELLO.ELF DATA_FOLDER [BIN_FOLDER_HERE STAND_IN WINE ANSWER]
use strict;
use warnings;
use Cwd qw(abs_path);
use File::Basename qw(dirname);
use File::Copy qw(copy);
use File::Temp qw(tempdir);
use Test::More;

my ($bin, $elf, $data, $bin_here, $stand_in, $wine, $answer) = map { abs_path($_) } @ARGV;
die "the Windows image is compared with the other one: build the preset release first\n" if @ARGV > 3 && !-x "$bin_here/marrowvan";
my $read_cdi = abs_path(dirname($0)) . '/read_cdi.pl';
my $root = tempdir(CLEANUP => 1);
chdir $root or die $!;

sub slurp { open my $f, '<:raw', $_[0] or return ''; local $/; <$f> // '' }
sub spew { my ($path, $text) = @_; open my $f, '>:raw', $path or die "$path: $!"; print $f $text }
sub companion { $wine ? "$wine '$bin/$_[0].exe'" : "$bin/$_[0]" }
sub output_of { my $text = qx{$_[0] 2>&1}; ($? >> 8, $text) }

sub prepare_game {
    system 'rm', '-rf', 'my game', 'hello.cdi';
    system 'cp', '-rp', $data, 'my game';
    copy($elf, 'my game/hello.elf') or die $!;
}
my @options = qw(--cdvol Hello --coder Me);

sub run_here {
    prepare_game();
    local $ENV{TMPDIR} = $root;
    local @ENV{qw(DISPLAY WAYLAND_DISPLAY)} = ('', '');
    return output_of("$_[0]/marrowvan --dir 'my game' --cdi hello.cdi @options </dev/null");
}

sub run_over_bridge {
    prepare_game();
    system 'cp', '-r', $bin, 'app';
    for my $tool (qw(sh-elf-objcopy mkisofs)) {
        copy($stand_in, "app/$tool.exe") or die $!;
        spew("app/$tool.does", 'bridge');
    }
    my $windows_root = "Z:$root" =~ tr{/}{\\}r;
    my $process = open my $from, '-|', $wine, $answer, "$windows_root\\app\\marrowvan.exe", '--dir', "$windows_root\\my game",
        '--cdi', "$windows_root\\hello.cdi", @options or die $!;
    my %here;  # a Windows path as it is here
    my $here = sub { $here{$_[0]} //= qx{$wine winepath -u '$_[0]' 2>/dev/null} =~ s/[\r\n]+$//r };
    while (waitpid($process, 1) == 0) {
        select undef, undef, undef, 0.01;
        next if !-e 'app/request';
        my @command = map { /^[A-Z]:\\/ ? $here->($_) : $_ } split /\r?\n/, slurp('app/request');
        local $ENV{LC_ALL} = 'C.UTF-8';
        output_of(join ' ', map { "'$_'" } @command);
        unlink 'app/request';
    }
    my $status = $? >> 8;
    return ($status, do { local $/; <$from> } // '');
}

# An ISO image with its dates blanked: of directory records and Rock Ridge, and those written in digits.
sub without_dates { $_[0] =~ s/[\x70-\xFF][\x01-\x0C][\x01-\x1F][\0-\x17][\0-\x3B]{2}[\0-\x34\xCC-\xFF]/-------/gsr =~ s/20\d{6}(\d{8})?/--------/gr }

subtest 'the main job' => sub {
    my ($status, $said) = run_here($bin_here // $bin);
    is $status, 0;
    unlike $said, qr/Unknown|Run-time|Usage/;
    if ($wine) {
        system "perl $read_cdi hello.cdi here.iso >&2";
        ($status, $said) = run_over_bridge();
        is $status, 0;
        is $said, '';
    }

    my ($checked, $report) = output_of(companion('cdicheck') . ' hello.cdi');
    is $checked, 0;
    like $report, qr/No problems found/;
    my ($read_status, $summary) = output_of("perl $read_cdi hello.cdi hello.iso");
    is $read_status, 0;
    like $summary, qr/^hello.cdi: audio 302 sectors at 0, data \d+ sectors at 11702, volume "Hello", EDC and ECC correct$/;
    ok without_dates(slurp('hello.iso')) eq without_dates(slurp('here.iso')), 'the same image from both hosts' if $wine;
    my $listing = qx{isoinfo -N 11702 -R -f -i hello.iso};
    is_deeply [sort split /\n/, $listing], [sort '/1ST_READ.BIN', '/about.txt', '/levels', '/levels/first.txt', '/levels/second level.txt'];

    is slurp('my game/IP.BIN'), substr(slurp('hello.iso'), 0, 32768), 'IP.BIN is the first 16 sectors';
    is substr(slurp('my game/IP.BIN'), 256), substr(slurp("$bin/IP.TMPL"), 256), 'with the body of the template';
    system "isoinfo -N 11702 -i hello.iso -x '/1ST_READ.BIN;1' > scrambled.bin";
    is system(join ' ', companion('scramble'), '-d scrambled.bin plain.bin'), 0;
    system 'sh-elf-objcopy', '-O', 'binary', '-R', '.stack', $elf, 'expected.bin';
    ok slurp('plain.bin') eq slurp('expected.bin'), 'the boot file unscrambles to what objcopy makes of the ELF file';
    ok slurp('plain.bin') ne slurp('scrambled.bin'), 'and was scrambled';
};

subtest 'the program of that image runs' => sub {
    spew('boot.bin', substr slurp('hello.iso'), 0, 32768);
    my $process = open my $serial, '-|', 'exec timeout 60 qemu-system-sh4 -M r2d -nodefaults -net none -display none'
        . ' -monitor none -serial null -serial stdio -device loader,file=boot.bin,addr=0x0c008000,force-raw=on'
        . ' -device loader,file=plain.bin,addr=0x0c010000,force-raw=on -device loader,addr=0xac008300,cpu-num=0'
        . ' 2>/dev/null';
    is scalar <$serial>, "Marrowvane hello\r\n";
    kill 'TERM', $process;
};

subtest 'tools with bad input leave the output as it was' => sub {
    my $volume = "\0" x 32768 . "\1CD001\1" . "\0" x 73 . pack('V N', 17, 17) . "\0" x 1960;
    spew('empty.iso', '');
    spew('odd.iso', "$volume.");
    spew('short.iso', substr $volume, 0, 32768);
    spew('none.iso', "\0" x 40960);
    spew('cut.iso', "\0" x 32768 . "\1CD001\1" . "\0" x 73 . pack('V N', 18, 18) . "\0" x 1960);
    spew('good.iso', $volume);
    mkdir 'folder';
    my @rows = (['cdi4dc empty.iso', qr/^cdi4dc: empty.iso: .*empty/], ['cdi4dc odd.iso', qr/odd.iso: .*multiple of 2048/],
        ['cdi4dc short.iso', qr/short.iso: no ISO 9660/], ['cdi4dc none.iso', qr/none.iso: no ISO 9660/],
        ['cdi4dc cut.iso', qr/cut.iso: ends after 17 of .* 18 sectors/], ['cdi4dc nowhere.iso', qr/nowhere.iso: .*not? .*f.*[a-z]\n\z/i],
        ['cdi4dc folder', qr/folder: not a file/], ['scramble nowhere.bin', qr/^scramble: nowhere.bin: .*not? .*f/i],
        ['cdi4dc', qr/OUT.cdi is required/], ['scramble --nonsense good.iso', qr/nonsense/]);
    for (@rows) {
        my ($arguments, $said) = @$_;
        spew('output', 'older');
        my ($tool, $rest) = split / /, "$arguments ", 2;
        my ($status, $text) = output_of(companion($tool) . " $rest output");
        $text =~ tr/\r//d;
        is $status, 1, $arguments;
        like $text, $said;
        is slurp('output'), 'older';
    }
    return if $wine;
    is_deeply [output_of("$bin/cdi4dc good.iso folder")], [1, "cdi4dc: folder: not a file\n"];
    is_deeply [output_of("$bin/cdi4dc good.iso none/x")], [1, "cdi4dc: none/x: No such file or directory\n"];
    is_deeply [output_of("$bin/cdi4dc good.iso --cdi")], [0, ''], 'behind a file name, dashes are a name';
    ok -s '--cdi';
    my $longest = 'n' x 255;
    is_deeply [output_of("$bin/cdi4dc good.iso $longest")], [0, ''];
    is_deeply [output_of("$bin/cdi4dc good.iso output")], [0, ''], 'no progress line without a terminal';
    is_deeply [output_of("$bin/$_ --version")], [0, "$_ 0.1\n"] for qw(cdi4dc scramble);
    is +(output_of("$bin/cdi4dc --help"))[0], 0;

    # Too long for a disc, and too long for the limit on files, which stands in for a full disk.
    truncate 'good.iso', 360001 * 2048;
    my ($status, $text) = output_of("trap '' XFSZ; ulimit -f 4000; $bin/cdi4dc good.iso output");
    is $status, 1;
    like $text, qr/^cdi4dc: output: warning: 371703 sectors .*\ncdi4dc: output: File too large\n$/;
    is length slurp('output'), 1413504 + 17 * 2336 + 617 + 3 * 6 + 32, 'the older output';
    is_deeply [glob 'output*'], ['output'], 'and no part of a new one';
};

done_testing;
