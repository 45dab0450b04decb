#!/usr/bin/perl
# The main job with the real tools, from the example's ELF file to a program that speaks on a processor, and
# the companion tools by themselves.
# Usage: main_job_test.pl BIN_FOLDER HELLO.ELF DATA_FOLDER
use strict;
use warnings;
use Cwd qw(abs_path);
use File::Basename qw(dirname);
use File::Copy qw(copy);
use File::Temp qw(tempdir);
use Test::More;

my ($bin, $elf, $data) = map { abs_path($_) } @ARGV;
my $read_cdi = abs_path(dirname($0)) . '/read_cdi.pl';
my $root = tempdir(CLEANUP => 1);
chdir $root or die $!;

sub slurp { open my $f, '<:raw', $_[0] or return ''; local $/; <$f> // '' }
sub spew { my ($path, $text) = @_; open my $f, '>:raw', $path or die "$path: $!"; print $f $text }
sub output_of { my $text = qx{$_[0] 2>&1}; ($? >> 8, $text) }

subtest 'the main job' => sub {
    is system('cp', '-r', $data, 'my game'), 0;
    copy($elf, 'my game/hello.elf') or die $!;
    delete @ENV{qw(DISPLAY WAYLAND_DISPLAY)};
    local $ENV{TMPDIR} = $root;
    my ($status, $said) = output_of("$bin/marrowvan --dir 'my game' --cdi hello.cdi --cdvol Hello --coder Me </dev/null");
    is $status, 0;
    unlike $said, qr/Unknown|Run-time|Usage/;

    my ($read_status, $summary) = output_of("perl $read_cdi hello.cdi hello.iso");
    is $read_status, 0;
    like $summary, qr/^hello.cdi: audio 302 sectors at 0, data \d+ sectors at 11702, volume "Hello", EDC and ECC correct$/;
    my $listing = qx{isoinfo -N 11702 -R -f -i hello.iso};
    is_deeply [sort split /\n/, $listing], [sort '/1ST_READ.BIN', '/about.txt', '/levels', '/levels/first.txt', '/levels/second level.txt'];

    is slurp('my game/IP.BIN'), substr(slurp('hello.iso'), 0, 32768), 'IP.BIN is the first 16 sectors';
    is substr(slurp('my game/IP.BIN'), 256), substr(slurp("$bin/IP.TMPL"), 256), 'with the body of the template';
    system "isoinfo -N 11702 -i hello.iso -x '/1ST_READ.BIN;1' > scrambled.bin";
    is system("$bin/scramble", '-d', 'scrambled.bin', 'plain.bin'), 0;
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
        ['cdi4dc cut.iso', qr/cut.iso: ends after 17 of .* 18 sectors/], ['cdi4dc nowhere.iso', qr/nowhere.iso: No such file/],
        ['cdi4dc folder', qr/folder: not a file/], ['scramble nowhere.bin', qr/^scramble: nowhere.bin: No such file/],
        ['cdi4dc', qr/OUT.cdi is required/], ['scramble --nonsense good.iso', qr/nonsense/]);
    for (@rows) {
        my ($arguments, $said) = @$_;
        spew('output', 'older');
        my ($status, $text) = output_of("$bin/$arguments output");
        is $status, 1, $arguments;
        like $text, $said;
        is slurp('output'), 'older';
    }
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
