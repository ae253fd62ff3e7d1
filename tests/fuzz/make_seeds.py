#!/usr/bin/env python3
"""Writes the seed corpora of the fuzz targets into tests/fuzz/corpus/.

Text seeds are the formats' own examples and the unit tests' edge cases;
volume seeds are made here and copied from the small NIfTI files that
python3-nibabel and python3-dipy ship. Run with Debian's /usr/bin/python3."""
import gzip
import os
import struct

HERE = os.path.dirname(os.path.abspath(__file__))
NIBABEL = '/usr/lib/python3/dist-packages/nibabel/tests/data'
DIPY = '/usr/lib/python3/dist-packages/dipy/data/files'


def put(target, name, data):
    folder = os.path.join(HERE, 'corpus', target)
    os.makedirs(folder, exist_ok=True)
    if isinstance(data, str):
        data = data.encode('latin-1')
    with open(os.path.join(folder, name), 'wb') as f:
        f.write(data)


def nifti(dims, datatype=16, bitpix=32, offset=352, magic=b'n+1\0', pixdim=(1, 2, 2, 3, 2),
          data=None, slope=0.0, inter=0.0, qform=0, sform=0, endian='<'):
    h = bytearray(348)
    struct.pack_into(endian + 'i', h, 0, 348)
    d = [len(dims)] + list(dims) + [1] * (7 - len(dims))
    struct.pack_into(endian + '8h', h, 40, *d)
    struct.pack_into(endian + 'hh', h, 70, datatype, bitpix)
    p = list(pixdim) + [1] * (8 - len(pixdim))
    struct.pack_into(endian + '8f', h, 76, *p)
    struct.pack_into(endian + 'fff', h, 108, offset, slope, inter)
    struct.pack_into(endian + 'hh', h, 252, qform, sform)
    h[344:348] = magic
    n = 1
    for x in dims:
        n *= x
    if data is None:
        data = bytes((i * 7) % 251 for i in range(n * bitpix // 8))
    pad = b'\0' * max(0, int(offset) - 348) if magic.startswith(b'n+1') else b''
    return bytes(h), pad + data


def single(*a, **k):
    h, d = nifti(*a, **k)
    return h + d


def main():
    # Volumes, single file.
    put('nifti_single', 'float4d.nii', single((4, 3, 2, 2)))
    put('nifti_single', 'short.nii', single((4, 3, 2), datatype=4, bitpix=16, slope=2.0, inter=1.0))
    put('nifti_single', 'odd_offset_short.nii', single((4, 3, 2), datatype=4, bitpix=16, offset=353))
    put('nifti_single', 'uint8.nii', single((5, 4, 3), datatype=2, bitpix=8, qform=1))
    put('nifti_single', 'double.nii', single((2, 2, 2, 3), datatype=64, bitpix=64, sform=1))
    put('nifti_single', 'int32_big.nii', single((3, 3, 3), datatype=8, bitpix=32, endian='>'))
    put('nifti_single', 'complex.nii', single((2, 2, 2), datatype=32, bitpix=64))
    put('nifti_single', 'rgb.nii', single((2, 2, 2), datatype=128, bitpix=24))
    put('nifti_single', 'truncated.nii', single((4, 3, 2, 2))[:400])
    put('nifti_single', 'zero_dim.nii', single((0, 3, 2)))
    for name in ['standard.nii.gz']:
        put('nifti_single', 'nibabel_' + name[:-3], gzip.open(os.path.join(NIBABEL, name)).read())
    for name in ['resampled_anat_moved.nii']:
        put('nifti_single', 'nibabel_' + name, open(os.path.join(NIBABEL, name), 'rb').read())
    for name in ['small_25.nii.gz', 'func_coef.nii.gz']:
        put('nifti_single', 'dipy_' + name[:-3], gzip.open(os.path.join(DIPY, name)).read())

    # Volumes, header and image pair.
    for name, kw in [('float', {}), ('short', dict(datatype=4, bitpix=16)),
                     ('big', dict(endian='>'))]:
        h, d = nifti((4, 3, 2, 2), magic=b'ni1\0', offset=0, **kw)
        put('nifti_pair', name, h + d)
    nib_hdr = open(os.path.join(NIBABEL, 'nifti1.hdr'), 'rb').read()[:348]
    put('nifti_pair', 'nibabel_nifti1_hdr', nib_hdr + bytes(range(256)) * 2)
    put('nifti_pair', 'nibabel_analyze_hdr',
        open(os.path.join(NIBABEL, 'analyze.hdr'), 'rb').read()[:348] + bytes(64))

    # Native format: first byte picks bshort, bfloat, blong, bdouble, ushort.
    data = bytes((i * 13) % 256 for i in range(4 * 3 * 2 * 2 * 8))
    put('native_header', 'float', b'\x01' + b'x 4\ny 3\nz 2\nt 2\nstorage-type float\n@@\n' + data)
    put('native_header', 'short', b'\x00' + b'x 4\ny 3\nz 2\nt 1\nbyte-order 0\n@@\n' + data)
    put('native_header', 'keywords', b'\x02' +
        b'# a volume\nx 4\ny 3\nz 2\nt 2\nresolution 2 2 3\norigin 0 0 0\n'
        b'storage-type long\ndata-type complex\nbyte-order 1\nregistration none\n@@\n' + data)
    put('native_header', 'double', b'\x03' + b'x 2\ny 2\nz 2\nt 1\nstorage-type double\n@@\n' + data)
    put('native_header', 'ushort', b'\x04' + b'x 4\ny 3\nz 2\nstorage-type ushort\n@@\n' + data)
    put('native_header', 'no_x', b'\x01' + b'y 3\nz 2\n@@\n' + data)

    # FreeSurfer series: slice header, series header, two slices.
    sl = bytes(range(24)) * 2
    put('freesurfer', 'two_slices', b'3 4 2 1\n@@\n'
        b'cols: 4\nrows: 3\nnframes: 2\nslice_thick: 3\n'
        b'top_left_r: 0\ntop_left_a: 0\ntop_left_s: 0\n'
        b'top_right_r: 8\ntop_right_a: 0\ntop_right_s: 0\n'
        b'bottom_right_r: 8\nbottom_right_a: 6\nbottom_right_s: 0\n'
        b'normal_r: 0\nnormal_a: 0\nnormal_s: 1\nimage_te: 30\nimage_ti: 0\nflip_angle: 90\n'
        b'@@\n' + sl + b'\n@@\n' + sl)
    put('freesurfer', 'no_bhdr', b'3 4 1 0\n@@\n@@\n' + sl[:24])

    # Start-up and command line.
    for name, words in [('image', ['v.nii']), ('planes', ['v.nii', '-3', '-m', '-1']),
                        ('maps', ['v.nii', '-a', 'v.nii', '-p', 'v.nii', '-A', 'v.nii', '-e', 'v.nii']),
                        ('layout', ['v.nii', '-x', '2', '-z', '3', '-y', '-Y', '-v']),
                        ('help', ['-h']), ('flip', ['-y']), ('missing', ['-a']),
                        ('model', ['-g', 'glm.txt']), ('unknown', ['v.nii', '-Q']),
                        ('lists', ['v.nii', '-o', 'x', '-w', 'y', '-d', 'z']),
                        ('selection', ['v.nii', '-m', '0,3-5,9-7,z'])]:
        put('command_line', name, '\n'.join(words) + '\n')
    put('startup_file', 'image', 'zorview v.nii -m 4\nremembered text\n')
    put('startup_file', 'planes', 'zorview -3 v.nii\n')
    put('startup_file', 'empty', '')
    put('startup_file', 'name_only', 'zorview\n')
    put('startup_file', 'long', 'zorview ' + 'v.nii ' * 300 + '\n')

    for i, s in enumerate(['0,3-5,9-7,z', 'all', '', '-', '1-', '-3', '63', '64', 'z', 'a-c',
                           '0-63', '5,5,5', '1,,2', '99999999999', ' 1 - 2 ']):
        put('selection_list', 's%02d' % i, s)

    put('line_reader', 'comments', '# comment\nvalue 1 # trailing\n\n\t \nlast')
    put('line_reader', 'long', 'x' * 1500 + '\nshort\n' + 'y' * 1023 + '\n')
    put('line_reader', 'crlf', 'a b\r\nc\td\r\n')

    # Regions, wires, tracts.
    put('overlay_file', 'weights', '3 0 0 0.25\n2 1 0 0.5\n2 1 0 0.75\n')
    put('overlay_file', 'comment', '1 1 1 # the hippocampus\n0 0 0 0.5#x\n')
    put('overlay_file', 'outside', '7 0 0\n1 2 1\n-1 0 0\n')
    put('overlay_file', 'short_line', '1 2\n0 0 0 1\n1 0 0 0\n')
    put('overlay_list', 'two', 'caudate a.ovl red\n\tputamen\ta.ovl\tsky\n@@\n1 1 1\n0 0 0 0.5\n')
    put('overlay_list', 'comments', '# regions\n\n   \none a.ovl # first\n\t\n@@\n3 2 1 0.5\n')
    put('overlay_list', 'no_color', 'one a.ovl\n@@\n1 1 1\n')
    put('wire_list', 'one', 'w a.wire green\n@@\n0 0 0 1\n1 1 1 2\n2 2 2 1\n3 3 3 0\n')
    put('wire_list', 'short', 'w a.wire\n@@\n1 2\n3 1 4\n5 6 0')
    put('tract_file', 'four', struct.pack('<12i', 4, 3, 2, 2, 0, 1, 3, 5, 6, 7, 1, 23))
    put('tract_file', 'huge_dims', struct.pack('<5i', 2**31 - 1, 2**31 - 1, 2, 1, 0))
    put('tract_file', 'negative_length', struct.pack('<6i', 4, 3, 2, -5, 0, 1))
    put('tract_file', 'header_only', struct.pack('<3i', 4, 3, 2))

    # Linear models.
    glm = ('notify\nbaseline-terms 3\nnormalize-BOLD\nIRF bold.irf\nconvolve-table 8 9\n'
           'conditions 1 2 12 1-2\nruns:\nrun.bfloat run.glm table.dat\n')
    events = '1 block 1.0\n2 block 1.0\n1 2 4\n2 6 8\n'
    put('glm_control', 'example', glm + '@@\n' + events + '@@\n1 2\n0 1\n@@\n0 0.5 1 0.5 0\n')
    put('glm_control', 'minimal', 'conditions 1\nruns:\nrun.bfloat run.glm\n@@\n1 3 5\n@@\n@@\n')
    put('glm_control', 'bad_keyword', 'frobnicate 3\nruns:\nrun.bfloat run.glm\n@@\n@@\n@@\n')
    put('glm_events', 'blocks', events + '@@\n1 2 12 1-2')
    put('glm_events', 'shapes', '1 gamma 1.0 6.0\n2 drug-IRF 24.\n1 0 5 2.0\n2 3 9\n@@\n1 2')
    put('glm_events', 'empty', '@@\n1')
    put('glm_table', 'two_columns', 'a b\n1 2\n3 4\n5 6\n7 8\n9 10\n1 2\n3 4\n5 6\n7 8\n9 10\n')
    put('glm_table', 'short', '1\n2\n')
    put('glm_response', 'shape', '0 0.5 1 0.5 0\n')
    put('glm_response', 'two_columns', '0 0\n1 0.5\n2 1\n3 0.5\n4 0\n')
    rem = 'conditions 1 2 1-2\nruns:\nrun.bfloat 1 0\nrun.bfloat 0 1\n'
    put('rem_control', 'two_groups', rem)
    put('rem_control', 'overlapping', 'overlapping-events\nconditions 1\nruns:\nrun.bfloat 1 1\n')
    put('srtm_control', 'example', 'conditions 1\nruns:\nrun.bfloat run.pet table.dat\n@@\n'
        '1 k2a\n1 0 10\n@@\nduration ref\n60 1\n60 2\n60 3\n60 4\n60 5\n60 6\n60 7\n60 8\n60 9\n60 10\n')
    frames = 'duration ref\n' + ''.join('%d %d\n' % (60 * (1 + t % 3), t + 1) for t in range(10))
    put('srtm_control', 'regions', 'time-model SRTM\nreference-region run.pet\ntarget-region run.pet\n'
        'half-life 109.8\nplasma-column 1\nconditions 2 1-2\nruns:\nrun.bfloat run.pet table.dat\n@@\n'
        '0\n1 R1\n\n2 k2a\n\n@@\n' + frames)
    put('srtm_control', 'shapes', 'time-model MRTM\nconditions 1\nruns:\nrun.bfloat run.pet table.dat\n@@\n'
        '40 1\n1 R1\n\n2 k2a\n\n3 k2a gamma\n3 2\n4 k2a gamma-integral\n2 4\n5 k2a sigmoid\n1 3\n'
        '6 R1 table\n1\n@@\n' + frames)
    put('pet_files', 'events', frames + '@@\n0\n1 R1\n\n2 k2a\n\n3 k2a gamma\n3 2\n4 R1 table\n1\n')
    put('pet_files', 'table_events', 'duration ref\n60 1\n60 2\n60 3\n@@\n1 k2a\n1 0 10\n')

    # Fits: control file, gradient table, registration.
    table = ''.join('%g %g %g %g\n' % r for r in
                    [(0, 0, 0, 0), (1, 0, 0, 1000), (0, 1, 0, 1000), (0, 0, 1, 1000), (1, 1, 0, 1000),
                     (1, 0, 1, 1000), (0, 1, 1, 1000), (0, 0, 0, 0), (2, 0, 0, 1000), (0, 0, 0, 0)])
    registration = ('set registration-type rigid\nset registration-orientation 1 0 -1 1\n'
                    'set registration-rotations 30 -20 45\n')
    put('fit_control', 'dti', 'time-model DTI-OLS\nregistration-file reg.txt\nreverse x z\n'
        'output-format zor\nfiles:\nrun.bfloat g.dti\n@@\n' + table + '@@\n' + registration)
    put('fit_control', 'dti_two_files', 'time-model DTI-WLS\nfiles:\nrun.bfloat g.dti\nrun.bfloat g.dti\n@@\n' +
        table + '@@\n')
    put('fit_control', 't2', 'time-model T2\nx-array 10 20 30 40 50 60 70 80 90 100\nfiles:\nrun.bfloat\n@@\n@@\n')
    put('fit_control', 't1', 'time-model T1-IR\nx-vector 1 2 3 4 5 6 7 8 9 10\nreverse x\n'
        'registration-file reg.txt\nruns:\nrun.bfloat\n@@\n@@\n')
    put('fit_control', 'one_value', 'time-model T2\nx-array 10\nrun.bfloat\n@@\n@@\n')
    put('fit_control', 'survival', 'time-model survival-3\nScans\nrun.bfloat\n@@\n@@\n')
    put('fit_control', 'fdg', 'time-model FDG-polynomial\nfiles\nrun.bfloat\n@@\n@@\n')
    put('fit_control', 'unknown', 'time-model DTI\nfiles:\nrun.bfloat\n@@\n@@\n')
    put('fit_control', 'zero_direction', 'time-model DTI-NL\nfiles:\nrun.bfloat g.dti\n@@\n0 0 0 1000\n@@\n')
    put('gradient_table', 'plain', b'\x00' + table.encode())
    put('gradient_table', 'reversed', b'\x07' + table.encode())
    put('gradient_table', 'rotated', b'\x1d' + table.encode())
    put('gradient_table', 'one_line', b'\x28' + b'1 2 3 1000\n')
    put('gradient_table', 'short', b'\x00' + b'1 2 3\n')
    put('gradient_table', 'large', b'\x00' + b'1e20 0 0 1000 0 1e-30 0 1000 3e19 4e19 0 5\n')
    put('gradient_table', 'zero', b'\x00' + b'0 0 0 1000\n')
    put('registration_file', 'all', registration)
    put('registration_file', 'deck', 'set registration-type deck-of-cards\n# comment\n\nset other 1\n'
        'set registration-rotations 1 2\n')
    put('registration_file', 'bad_orientation', 'set registration-orientation 1 0\n')
    put('registration_file', 'large', 'set registration-orientation 7 -9 2147483647 1\n'
        'set registration-rotations 1e30 -1e30 nan\n')

    # The model's first line.
    for name, text in [('glm', 'time-model glm\n'), ('rem', '# group\n\ntime-model MEM\n'),
                       ('srtm', 'time-model LSRRM'), ('dv', 'time-model distribution-volume\n'),
                       ('fit', 'time-model DTI-OLS\nfiles:\n'), ('none', 'time-model\n'),
                       ('other', 'conditions 1\n'), ('empty', ''), ('number', '12 time-model glm\n')]:
        put('time_model', name, text)

    # PET regions: reference, target, the run's header.
    header = 'x 2\ny 2\nz 1\nt 10\nstorage-type float\n'
    put('pet_regions', 'both', '0 0 0\n1 0 0 0.5\n@@\n1 1 0\n0 1 0 0.25\n@@\n' + header)
    put('pet_regions', 'outside', '2 0 0\n@@\n1 1 0\n@@\n' + header)
    put('pet_regions', 'empty_target', '0 0 0\n@@\n@@\n' + header)
    put('pet_regions', 'short_data', '0 0 0\n@@\n1 1 0\n@@\nx 20\ny 20\nz 1\nt 10\nstorage-type float\n')
    put('pet_regions', 'huge', '0 0 0\n@@\n1 1 0\n@@\nx 40000\ny 40000\nz 1\nt 10\nstorage-type short\n')
    put('pet_regions', 'claims_more', '0 0 0\n@@\n1 1 0\n@@\nx 46340\ny 4634\nz 1\nt 10\nstorage-type float\n')
    put('pet_regions', 'frames', '0 0 0\n@@\n1 1 0\n@@\nx 2\ny 2\nz 1\nt 9\nstorage-type float\n')

    # Wires.
    put('wire_file', 'two', '0 0 0 1\n1 1 1 2\n2 2 2 1\n3 3 3 0\n1.5 -2.25 1e-7  3\n')
    put('wire_file', 'large', '1e30 -1e-30 123456.789 1\n8.0000005 0.1 0.2 0\n')
    put('wire_file', 'word', '0 0 0 1\nx\n')

    # GLM models written back: keywords, run 1, run 2.
    put('glm_roundtrip', 'shapes', 'baseline-terms 2\nnormalize-IRON\nIRF bold.irf\noutput-format zor\n@@\n'
        '2\n\n1\n0 10\n12 16 2\n\n2 gamma 5 2\n4 1.5\n\n3 ramp-up\n2 6\n\n4 sine 8\n0 17\n'
        '\n5 cosine 8\n0 17\n\n6 drug-IRF 4 2\n10 12 3\n\n7 baseline 3\n\n-1\n0 1\n9 9\n@@\n'
        '2\n\n1\n4 8\n\n8 sigmoid 3\n6 2\n\n9 ramp-down\n0 4\n\n2 gamma 5 2\n10\n\n-1\n5 6\n')
    put('glm_roundtrip', 'lossy', 'normalize-BOLD\n@@\n1.5\n\n1 exponential-down 4\n2 8 3\n\n2 table 1\n'
        '\na interaction 1 2\n@@\n1.5\n\n1 exponential-down 4\n0 14\n')
    put('glm_roundtrip', 'clipped', '@@\n2\n\n1\n17 30\n\nb baseline-exp-sat 0.5\n@@\n2\n\n1\n0.125 3\n')

    # Help: answers typed at the prompts, the root menu, the linked menu, the
    # question-mark file.
    doc = os.path.join(HERE, '..', '..', 'documentation')
    def text(name):
        return open(os.path.join(doc, name), encoding='latin-1').read()
    menu, files, qm = text('zorview-menu.txt'), text('zorview-files.txt'), text('zorview-question-mark.txt')
    links = []
    head = None
    for line in menu.split('\n'):
        if line.startswith('!'):
            head = line[1:].split()
        elif line.startswith('>') and head:
            links.append(head)
    linked = menu.replace('>zorview-models.txt', '>more.txt').replace('>zorview-files.txt', '>more.txt')
    put('help_files', 'browse', '1\nb\n0\nq\n@@\n' + menu + '@@\n' + files + '@@\n' + qm)
    put('help_files', 'every_menu', ''.join('%d\n1\n2\nb\nb\n' % k for k in range(1, 9)) + 'q\n@@\n'
        + menu + '@@\n' + files + '@@\n' + qm)
    for m, i in links[:2]:
        put('help_files', 'link_%s_%s' % (m, i), '%s\n%s\n2\nb\nq\nq\n@@\n' % (m, i) + linked + '@@\n'
            + text('zorview-models.txt') + '@@\n' + qm)
    put('help_files', 'link_loop', '%s\n%s\n%s\n%s\nq\n@@\n' % (links[0][0], links[0][1], links[0][0], links[0][1])
        + linked + '@@\n' + linked + '@@\n! 3 1\nfound\n\n')
    put('help_files', 'out_of_order', '1\nq\n@@\n!0 0\nroot\n!2 0\nskipped\n@@\n!0 0\n!0 2\n@@\n! 3 1\n')
    put('help_files', 'bad_option', '9\n-1\n1\n7\n\n@@\n!0 0\nroot\n!1 0\none\n!1 1\nitem\n@@\n@@\n')
    put('help_files', 'empty', '')

    # Result tables: an old table that the next region extends.
    put('result_tables', 'plain', 'i x a\n0 0 1\n1 1 2\n2 2 3\n')
    put('result_tables', 'two_columns', 'i x a b\n0 0 1 4\n1 1 2 5\n2 2 3 6\n')
    put('result_tables', 'shorter', 'i x a\n0 0 1\n')
    put('result_tables', 'longer', 'i x a\n' + ''.join('%d %d %d\n' % (k, k, k) for k in range(9)))
    put('result_tables', 'no_newline', 'i x a\n0 0 1')
    put('result_tables', 'crlf', 'i x a\r\n0 0 1\r\n1 1 2\r\n')
    put('result_tables', 'nul', 'i x a\n0 0\0 1\n1 1 2\n')
    put('result_tables', 'long_line', 'i x ' + 'a' * 5000 + '\n0 0 1\n')
    put('result_tables', 'empty', '')

    # Compressed volumes: nibabel's own and the volume seeds above, compressed.
    for name in ['standard.nii.gz', 'example_nifti2.nii.gz']:
        put('gzip_volume', 'nibabel_' + name, open(os.path.join(NIBABEL, name), 'rb').read())
    for name in ['small_25.nii.gz']:
        put('gzip_volume', 'dipy_' + name, open(os.path.join(DIPY, name), 'rb').read())
    for name in ['float4d.nii', 'short.nii', 'double.nii', 'int32_big.nii', 'truncated.nii', 'rgb.nii']:
        raw = open(os.path.join(HERE, 'corpus', 'nifti_single', name), 'rb').read()
        put('gzip_volume', name + '.gz', gzip.compress(raw, mtime=0))
    whole = gzip.compress(single((4, 3, 2, 2)), mtime=0)
    put('gzip_volume', 'cut_stream.nii.gz', whole[:len(whole) // 2])
    put('gzip_volume', 'bad_crc.nii.gz', whole[:-8] + bytes(8))
    put('gzip_volume', 'two_members.nii.gz', whole + gzip.compress(b'trailing', mtime=0))
    put('gzip_volume', 'not_compressed.nii.gz', single((4, 3, 2)))

    # Pictures: width and height bytes, then the colours.
    put('png_writer', 'empty', b'')
    put('png_writer', 'no_height', bytes([5, 0, 1, 2, 3]))
    put('png_writer', 'one_pixel', bytes([1, 1, 0xff, 0x12, 0x34, 0x56]))
    put('png_writer', 'largest', bytes([96, 96]) + bytes(range(256)))
    put('png_writer', 'one_row', bytes([96, 1, 0, 0, 0, 0xff, 0xff, 0xff, 0xff, 0]))
    put('png_writer', 'no_colours', bytes([7, 3]))


main()
